# Programs and libraries find each other in the installed tree wherever it is moved to. Whoever installs into
# directories that the loader searches anyway turns this off with CMAKE_SKIP_INSTALL_RPATH.

file(RELATIVE_PATH ZELTO_LIBRARIES_FROM_PROGRAMS
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(CMAKE_INSTALL_RPATH "$ORIGIN/${ZELTO_LIBRARIES_FROM_PROGRAMS}")
set(ZELTO_LIBRARY_RPATH "$ORIGIN")
