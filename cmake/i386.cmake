# 32-bit x86 with the host's compiler; the programs run on an x86-64 host as they are.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(ZELTO_SYSROOT_ARCH i386)
include(${CMAKE_CURRENT_LIST_DIR}/ZeltoSysroot.cmake)

# <asm/...> comes from the host's kernel headers, which serve both word sizes. The package that makes them visible to
# -m32 excludes every cross compiler, so it is not asked for.
set(flags "-m32 -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_C_FLAGS_INIT "${flags}")
set(CMAKE_CXX_FLAGS_INIT "${flags}")
