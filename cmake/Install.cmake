# What `cmake --install` lays out, by the rules of the file hierarchy and of freedesktop.org. The components are those
# that Packages.cmake makes packages of: `server` (what names no other one), `client-library` and `windows`.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME server)

install(TARGETS odbc-data-server odbc-data-client odbc-data-controller RUNTIME)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs PATTERN man EXCLUDE)
install(FILES packaging/controller.toml DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
foreach(section 1 8)
  install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} FILES_MATCHING PATTERN *.${section})
endforeach()
install(FILES packaging/odbc-data-client.bash-completion
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME odbc-data-client)

# The service. Its unit names the program where it is installed, and that only the installation knows (`--prefix`).
install(CODE "
  file(READ \"${PROJECT_SOURCE_DIR}/packaging/odbc-data-controller.service\" unit)
  string(REPLACE \"/usr/bin/\" \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\" unit \"\${unit}\")
  file(WRITE \"${PROJECT_BINARY_DIR}/odbc-data-controller.service\" \"\${unit}\")")
install(FILES ${PROJECT_BINARY_DIR}/odbc-data-controller.service DESTINATION lib/systemd/system)
install(FILES packaging/odbc-data-controller.sysusers DESTINATION lib/sysusers.d RENAME odbc-data-controller.conf)
install(FILES packaging/odbc-data-controller.tmpfiles DESTINATION lib/tmpfiles.d RENAME odbc-data-controller.conf)

# The client library: for CMake find_package(OdbcDataClient) and the target OdbcDataClient::client, for others
# pkg-config.
set(library_folder ${CMAKE_INSTALL_LIBDIR}/cmake/OdbcDataClient)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/odbc-data-client)
install(TARGETS ods_client EXPORT OdbcDataClient
  ARCHIVE COMPONENT client-library FILE_SET HEADERS DESTINATION ${header_folder} COMPONENT client-library)
install(EXPORT OdbcDataClient NAMESPACE OdbcDataClient:: DESTINATION ${library_folder} COMPONENT client-library)
configure_package_config_file(cmake/OdbcDataClientConfig.cmake.in OdbcDataClientConfig.cmake
  INSTALL_DESTINATION ${library_folder} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(OdbcDataClientConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OdbcDataClientConfig.cmake ${PROJECT_BINARY_DIR}/OdbcDataClientConfigVersion.cmake
  DESTINATION ${library_folder} COMPONENT client-library)
file(RELATIVE_PATH from_pkgconfig_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(amqp_requirement)
if(WITH_AMQP)
  set(amqp_requirement ", librabbitmq")
endif()
configure_file(cmake/odbc-data-client.pc.in odbc-data-client.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/odbc-data-client.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT client-library)
install(DIRECTORY samples/clients/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libodbc-data-client-dev/examples
  COMPONENT client-library)

if(WITH_UI)
  # Not in CMAKE_INSTALL_LIBDIR: the server looks for its windows beside its own folder.
  install(TARGETS odbc-data-server-windows LIBRARY DESTINATION lib/odbc-data-server COMPONENT windows)
  install(FILES packaging/odbc-data-server.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT windows)
  set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
  foreach(size 16 24 32 48 64 128)
    install(FILES src/ui/windows/icons/odbc-data-server-${size}.png DESTINATION ${icons}/${size}x${size}/apps
      RENAME odbc-data-server.png COMPONENT windows)
  endforeach()
  install(FILES src/ui/windows/icons/odbc-data-server.svg DESTINATION ${icons}/scalable/apps COMPONENT windows)
endif()
