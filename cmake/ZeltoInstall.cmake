# What is installed beside the programs, which install themselves.

configure_file(${PROJECT_SOURCE_DIR}/packaging/com.Ulmet.Zelto.conf.in packaging/com.Ulmet.Zelto.conf @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/packaging/com.Ulmet.Zelto.conf
  DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d COMPONENT runtime)
