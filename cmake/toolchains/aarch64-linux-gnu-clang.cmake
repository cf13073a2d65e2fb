# Cross build for 64-bit Arm Linux with clang, the compiler a device build
# uses, against the same arm64 multiarch -dev packages as the GCC file; clang
# takes the C++ library and the linker of Debian's aarch64 cross toolchain
# (scripts/install-deps.sh --arm64 installs them):
#   cmake -S . -B build/arm64-clang --toolchain cmake/toolchains/aarch64-linux-gnu-clang.cmake
# Test binaries run under qemu-user-static.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64-linux-gnu-multiarch.cmake)
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET ${HDRTM_CROSS_TRIPLET})
set(CMAKE_CXX_COMPILER_TARGET ${HDRTM_CROSS_TRIPLET})
