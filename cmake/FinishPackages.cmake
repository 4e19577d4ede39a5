# Run by cpack between installing the components and making packages of them: what only a Debian package has.
cmake_minimum_required(VERSION 3.25)
set(debian ${CPACK_ODS_SOURCE}/packaging/debian)

# What went into the release, for those who upgrade: its date stands in the project's own list of changes.
string(REGEX REPLACE "-[^-]*$" "" version ${CPACK_ODS_VERSION})
file(STRINGS ${CPACK_ODS_SOURCE}/CHANGELOG.md heading REGEX "^## \\[${version}\\] - ")
string(REGEX MATCH "[0-9]+-[0-9]+-[0-9]+$" date "${heading}")
if(NOT date)
  message(FATAL_ERROR "CHANGELOG.md has no heading with the date of ${version}")
endif()
execute_process(COMMAND date --utc --rfc-email --date=${date} OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(tree ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component})
  set(documents ${tree}/usr/share/doc/${package})
  configure_file(${debian}/changelog.in ${documents}/changelog.Debian @ONLY)
  file(COPY ${debian}/copyright DESTINATION ${documents})
  if(EXISTS ${debian}/${package}.lintian-overrides)
    configure_file(${debian}/${package}.lintian-overrides ${tree}/usr/share/lintian/overrides/${package} COPYONLY)
  endif()
endforeach()

# The licence's text is on every Debian system, and `copyright` says where.
set(server ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/server)
set(documents ${server}/usr/share/doc/odbc-data-server)
file(REMOVE ${documents}/LICENSE)
file(RENAME ${documents}/CHANGELOG.md ${documents}/changelog)
# The configuration, which may hold passwords; postinst gives it to the service's group.
file(COPY ${CPACK_ODS_SOURCE}/packaging/controller.toml DESTINATION ${server}/etc/odbc-data-controller
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ)
file(REMOVE_RECURSE ${documents}/examples)

file(GLOB_RECURSE compressed ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/man/*
  ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/doc/*/changelog*)
execute_process(COMMAND gzip -9 --no-name ${compressed} COMMAND_ERROR_IS_FATAL ANY)
