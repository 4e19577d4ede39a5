# The Debian packages, one a component of Install.cmake: `cpack --preset package`, or scripts/package.sh. They are made
# of a tree that is configured for /usr. FinishPackages.cmake brings what was installed into the form of Debian's
# policy.
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_SET_DESTDIR ON)  # the unit names programs below /usr, wherever the package's files are put together
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/FinishPackages.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE odbc-data-server)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "odbc-data-server maintainers <maintainers@users.noreply.example>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(package_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# What FinishPackages.cmake needs to know: cpack hands it what begins with CPACK.
set(CPACK_ODS_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_ODS_VERSION ${package_version})

# A package of a component, with a description of a line and paragraphs. Its further fields are set after it.
macro(ods_package component name section description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
endmacro()

set(CPACK_COMPONENTS_ALL)
ods_package(server odbc-data-server database [[
answers XML requests for the data of an ODBC database
A worker process that lets client applications read the tables of one
relational database without talking to it: requests and answers are XML
documents in a folder, and statements are built by the server itself.

The package holds the server, odbc-data-client to ask it from the command
line, and odbc-data-controller, a service that keeps servers running. The
server's windows are in odbc-data-server-windows.]])
# The service's user is made by systemd-sysusers.
set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "systemd | systemd-standalone-sysusers | systemd-sysusers")
set(CPACK_DEBIAN_SERVER_PACKAGE_RECOMMENDS "odbc-postgresql | odbc-mariadb | libsqliteodbc | tdsodbc")
set(CPACK_DEBIAN_SERVER_PACKAGE_SUGGESTS "odbc-mariadb, libsqliteodbc, tdsodbc, unixodbc")
set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA
  ${debian}/conffiles ${debian}/postinst ${debian}/prerm ${debian}/postrm)

ods_package(client-library libodbc-data-client-dev libdevel [[
asks an ODBC data server from C++
A static library and its header: requests and answers of an ODBC data
server, and tables read page by page, in C++20. For CMake it is the target
OdbcDataClient::client of the package OdbcDataClient; pkg-config knows it as
odbc-data-client.]])
set(CPACK_DEBIAN_CLIENT-LIBRARY_PACKAGE_DEPENDS libpugixml-dev)
if(WITH_AMQP)
  string(APPEND CPACK_DEBIAN_CLIENT-LIBRARY_PACKAGE_DEPENDS ", librabbitmq-dev")
endif()
set(CPACK_DEBIAN_CLIENT-LIBRARY_PACKAGE_SUGGESTS "odbc-data-server (= ${package_version})")

if(WITH_UI)
  ods_package(windows odbc-data-server-windows database [[
windows of the ODBC data server
Status, options with a test of the connection, and the trace log of an ODBC
data server, and its entry in the desktop's menu. A server that runs as a
service needs none of it.]])
  set(CPACK_DEBIAN_WINDOWS_PACKAGE_DEPENDS "odbc-data-server (= ${package_version})")
endif()

include(CPack)
