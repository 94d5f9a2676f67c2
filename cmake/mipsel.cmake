# Toolchain: 32-bit little-endian MIPS with Debian's cross compiler, against the root that
# scripts/sysroot makes. What is built runs under qemu-mipsel-static.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CMAKE_C_COMPILER mipsel-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)

get_filename_component(CMAKE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-mipsel" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE mipsel-linux-gnu)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/mipsel-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel-static -L "${CMAKE_SYSROOT}")

# The linker pads what has RELRO to steps of 64 KiB, for kernels with pages of that size; the
# devices' have 4 KiB.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-z,max-page-size=4096")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-z,max-page-size=4096")
