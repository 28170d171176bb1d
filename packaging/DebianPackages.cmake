set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(same "(= ${PROJECT_VERSION})")

# debian_package(COMPONENT NAME DESCRIPTION): its name, its description, and the files that every package has.
function(debian_package component name description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name})
  install(FILES debian/copyright DESTINATION ${folder} COMPONENT ${component})
  set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
  execute_process(COMMAND gzip -9nc ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog OUTPUT_FILE ${changelog})
  install(FILES ${changelog} DESTINATION ${folder} COMPONENT ${component})
endfunction()

set(what "QxClient spreads long computations over worker processes, on this
computer and on others. All client processes of a computer share it: a call
waits until the processors and the memory that it is expected to use are free.
")
debian_package(library libqxclient${PROJECT_VERSION_MAJOR} "library for applications and servants
${what}
This package holds the shared libraries.")
debian_package(development libqxclient-dev "development files of QxClient
${what}
This package holds the headers, and what CMake and pkg-config need to find the
library and the servant kit.")
debian_package(tools qx-tools "command-line tool for service calls
${what}
This package holds qx, which makes service calls from the shell, checks
configurations, and shows what runs.")
debian_package(distributor qx-distributor "server for service calls of other computers
${what}
This package holds the distributor, which runs the services of its
configuration for clients that reach it over TCP. It listens on the loopback
address until told otherwise.")
debian_package(documentation qxclient-doc "documentation and examples of QxClient
${what}
This package holds the documents, the sources of the examples, and the schemas
of the configuration files.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libqxclient${PROJECT_VERSION_MAJOR} ${same}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS qxclient-doc)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "qxclient-doc, qx-distributor")
set(CPACK_DEBIAN_DISTRIBUTOR_PACKAGE_SECTION net)
set(CPACK_DEBIAN_DISTRIBUTOR_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_DISTRIBUTOR_PACKAGE_RECOMMENDS qx-tools)
set(scripts ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(CPACK_DEBIAN_DISTRIBUTOR_PACKAGE_CONTROL_EXTRA
  ${scripts}/conffiles ${scripts}/postinst ${scripts}/prerm ${scripts}/postrm)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
