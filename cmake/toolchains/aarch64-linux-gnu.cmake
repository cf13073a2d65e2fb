# Cross build for 64-bit Arm Linux with Debian's cross compiler and the arm64
# multiarch -dev packages (scripts/install-deps.sh --arm64 installs them):
#   cmake -S . -B build/arm64 --toolchain cmake/toolchains/aarch64-linux-gnu.cmake
# Test binaries run under qemu-user-static, so ctest and test discovery work
# on an x86-64 host.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64-linux-gnu-multiarch.cmake)
set(CMAKE_C_COMPILER ${HDRTM_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${HDRTM_CROSS_TRIPLET}-g++)
