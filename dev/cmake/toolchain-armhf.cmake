# 32-bit ARM with hardware floating point, using Debian's cross compiler. Libraries that
# it lacks come from TARGET_SYSROOT, which target/sysroot makes. Tests run in the
# user-mode emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# Everything is built with one compiler, so its notes about other compilers' calling
# conventions do not matter. Assertions in headers must not reveal this machine's folders.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi -ffile-prefix-map=${TARGET_SYSROOT}=")

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARGET_SYSROOT)
if(NOT EXISTS "${TARGET_SYSROOT}/usr/include")
    message(FATAL_ERROR "There is no ${TARGET_SYSROOT}: run target/sysroot first.")
endif()

# CMAKE_SYSROOT stays unset: the C and C++ libraries are the compiler's own, and programs
# in the build tree have a run path into TARGET_SYSROOT.
set(CMAKE_FIND_ROOT_PATH ${TARGET_SYSROOT} /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config must see the target's packages but not this machine's.
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${TARGET_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${TARGET_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${TARGET_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
