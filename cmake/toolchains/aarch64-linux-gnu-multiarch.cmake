# Shared by the arm64 toolchain files (GCC and clang): the Debian multiarch
# layout of the arm64 -dev packages and qemu as the emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(HDRTM_CROSS_TRIPLET aarch64-linux-gnu)

# Debian multiarch layout: no separate sysroot. Libraries and CMake package
# files of the arm64 -dev packages live under /usr/lib/aarch64-linux-gnu,
# arch-independent headers under /usr/include.
set(CMAKE_LIBRARY_ARCHITECTURE ${HDRTM_CROSS_TRIPLET})
list(APPEND CMAKE_LIBRARY_PATH /usr/lib/${HDRTM_CROSS_TRIPLET})
list(APPEND CMAKE_INCLUDE_PATH /usr/include/${HDRTM_CROSS_TRIPLET})

# Run target binaries under qemu. When the multiarch libc6:arm64 is installed
# its loader is used with its own libc (the loader and libc must come from the
# same glibc build); otherwise the cross toolchain's runtime is the prefix.
find_program(HDRTM_QEMU_AARCH64 qemu-aarch64-static REQUIRED)
if(EXISTS /lib/ld-linux-aarch64.so.1)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${HDRTM_QEMU_AARCH64})
else()
  set(CMAKE_CROSSCOMPILING_EMULATOR ${HDRTM_QEMU_AARCH64} -L /usr/${HDRTM_CROSS_TRIPLET})
endif()
