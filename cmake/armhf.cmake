# 32-bit ARM, the target; the programs run under qemu's user-mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(ZELTO_SYSROOT_ARCH armhf)
# Notes that gcc 7 passed some arguments in other registers: everything here is compiled by one compiler.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
include(${CMAKE_CURRENT_LIST_DIR}/ZeltoSysroot.cmake)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${ZELTO_SYSROOT})
