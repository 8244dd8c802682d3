# What is installed, by component: "runtime" (the library and the bus policy), "dev" (what programs are built with) and
# "tools" (the programs; they install themselves).

include(CMakePackageConfigHelpers)

set(ZELTO_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zelto)
set(ZELTO_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS zelto EXPORT zelto
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
# The platform has its own; only hosts that programs are built on get the replacement. Nobody links it by name.
if(NOT ZELTO_LOGGING_LIBRARY)
  install(TARGETS qv_logging EXPORT zelto
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev NAMELINK_SKIP)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zelto
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev PATTERN CMakeLists.txt EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)

# The CMake package.
install(EXPORT zelto NAMESPACE zelto:: FILE zeltoTargets.cmake
  DESTINATION ${ZELTO_PACKAGE_DIR} COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/zeltoConfig.cmake.in
  packaging/zeltoConfig.cmake INSTALL_DESTINATION ${ZELTO_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/packaging/zeltoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/packaging/zeltoConfig.cmake
  ${PROJECT_BINARY_DIR}/packaging/zeltoConfigVersion.cmake
  DESTINATION ${ZELTO_PACKAGE_DIR} COMPONENT dev)

# The pkg-config files. The prefix is found from their own place, so that the tree can be moved.
file(RELATIVE_PATH ZELTO_PREFIX_FROM_PKGCONFIG
  ${CMAKE_INSTALL_PREFIX}/${ZELTO_PKGCONFIG_DIR} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ZELTO_PREFIX_FROM_PKGCONFIG ${ZELTO_PREFIX_FROM_PKGCONFIG})
foreach(name zelto zelto-dbus)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/${name}.pc.in packaging/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/packaging/${name}.pc DESTINATION ${ZELTO_PKGCONFIG_DIR} COMPONENT dev)
endforeach()

configure_file(${PROJECT_SOURCE_DIR}/packaging/com.Ulmet.Zelto.conf.in packaging/com.Ulmet.Zelto.conf @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/packaging/com.Ulmet.Zelto.conf
  DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d COMPONENT runtime)
