# The manual pages and completions, made from what the programs' --help says and from the documents.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_program(QX_LOWDOWN lowdown)
if(NOT QX_LOWDOWN)
  message(STATUS "No manual pages and completions: lowdown is missing")
  return()
endif()

set(commands call batch check services expr usage host top table)
list(TRANSFORM commands REPLACE "(.+)" "qx-\\1.1" OUTPUT_VARIABLE command_pages)
set(tool_pages qx.1 ${command_pages} QxConfiguration.5 qx-formulas.7)
set(manuals ${CMAKE_CURRENT_BINARY_DIR})
set(pages ${tool_pages} qx-distributor.8 QxClient.3)
list(TRANSFORM pages REPLACE "(.+)" "${manuals}/man/\\1.gz")
set(documents Configuration Formulas Distributor Programming)
list(TRANSFORM documents REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/docs/\\1.md")
add_custom_command(
  OUTPUT ${pages} ${manuals}/completion/qx.bash ${manuals}/completion/_qx
  COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/make-manuals $<TARGET_FILE_DIR:qx> ${PROJECT_SOURCE_DIR}
    ${manuals} ${PROJECT_VERSION}
  DEPENDS qx qx-distributor make-manuals ${documents}
  COMMENT "Making the manual pages and completions")
add_custom_target(manuals ALL DEPENDS ${pages})

function(install_pages component)
  foreach(page ${ARGN})
    string(REGEX REPLACE ".*\\." "" section ${page})
    install(FILES ${manuals}/man/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
  endforeach()
endfunction()
install_pages(tools ${tool_pages})
install_pages(distributor qx-distributor.8)
install_pages(development QxClient.3)
install(FILES ${manuals}/completion/qx.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME qx COMPONENT tools)
install(FILES ${manuals}/completion/_qx DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
