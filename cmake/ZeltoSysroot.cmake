# For a toolchain file: finds libraries, headers and packages in the sysroot of ZELTO_SYSROOT_ARCH and nowhere else.

get_filename_component(ZELTO_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-${ZELTO_SYSROOT_ARCH}" ABSOLUTE)
if(NOT EXISTS "${ZELTO_SYSROOT}/.complete")
  message(FATAL_ERROR "There is no ${ZELTO_SYSROOT}: run tools/make_sysroot ${ZELTO_SYSROOT_ARCH}")
endif()

set(libraries "${ZELTO_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
set(ENV{PKG_CONFIG_LIBDIR} "${libraries}/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${ZELTO_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH "${ZELTO_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# DT_RPATH and not DT_RUNPATH: it also holds for what the sysroot's libraries need in their turn.
set(linking "-Wl,--disable-new-dtags -Wl,-rpath-link,${libraries}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${linking}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${linking}")
