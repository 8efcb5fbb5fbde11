# Cross-compiles utk for the phone: 32-bit ARM, hard float, Linux, with
# Debian's arm-linux-gnueabihf compilers (package g++-arm-linux-gnueabihf).
#
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake \
#         -DUTK_ARMHF_SYSROOT=/path/to/armhf/root -DUTK_BUILD_BENCH=OFF
#   cmake --build build-armhf -j2
#
# UTK_ARMHF_SYSROOT is the target's root file system: the C and C++ runtime,
# FreeType, HarfBuzz and libpng with their headers and pkg-config files
# (GoogleTest too for the tests). scripts/armhf-sysroot DIR makes one from
# Debian's armhf packages; a phone image's root with the -dev files does too.
# The environment variable of the same name is read when the cache variable
# is not given.
#
# When qemu-arm is installed, target programs run through it (with the
# sysroot as the library prefix), so test discovery and ctest work in the
# build folder as in a native build. The emulated programs see
# UTK_TEST_EMULATOR in their environment: a program under qemu-arm cannot
# execute another target program, so death tests fork instead.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(UTK_ARMHF_TRIPLE arm-linux-gnueabihf)

if(NOT UTK_ARMHF_SYSROOT AND DEFINED ENV{UTK_ARMHF_SYSROOT})
  set(UTK_ARMHF_SYSROOT "$ENV{UTK_ARMHF_SYSROOT}")
endif()
if(NOT UTK_ARMHF_SYSROOT)
  message(FATAL_ERROR "Set UTK_ARMHF_SYSROOT to the ARM root file system "
    "(scripts/armhf-sysroot build-armhf/sysroot makes one)")
endif()
get_filename_component(UTK_ARMHF_SYSROOT "${UTK_ARMHF_SYSROOT}" ABSOLUTE)
if(NOT EXISTS "${UTK_ARMHF_SYSROOT}/usr/include")
  message(FATAL_ERROR "UTK_ARMHF_SYSROOT=${UTK_ARMHF_SYSROOT} has no usr/include")
endif()
set(UTK_ARMHF_SYSROOT "${UTK_ARMHF_SYSROOT}" CACHE PATH "Root file system of the ARM target")
# The compiler checks (try_compile) read this file again in a fresh scope.
set(ENV{UTK_ARMHF_SYSROOT} "${UTK_ARMHF_SYSROOT}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES UTK_ARMHF_SYSROOT)

set(CMAKE_C_COMPILER ${UTK_ARMHF_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${UTK_ARMHF_TRIPLE}-g++)
set(CMAKE_SYSROOT "${UTK_ARMHF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH "${UTK_ARMHF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config sees only the target's .pc files and prefixes their paths with
# the sysroot.
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_LIBDIR}
  "${UTK_ARMHF_SYSROOT}/usr/lib/${UTK_ARMHF_TRIPLE}/pkgconfig:${UTK_ARMHF_SYSROOT}/usr/lib/pkgconfig:${UTK_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${UTK_ARMHF_SYSROOT}")

find_program(UTK_QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(UTK_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR
    "env;UTK_TEST_EMULATOR=qemu-arm;${UTK_QEMU_ARM};-L;${UTK_ARMHF_SYSROOT}")
endif()
