# What the system starts: the distributor, and the table of all users.
set(unit_folder lib/systemd/system)
foreach(unit qx-distributor qx-table)
  configure_file(systemd/${unit}.service.in ${unit}.service @ONLY)
endforeach()
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qx-distributor.service DESTINATION ${unit_folder} COMPONENT distributor)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qx-table.service DESTINATION ${unit_folder} COMPONENT tools)

# /etc belongs to the package: below a prefix of one's own it stays inside.
install(FILES systemd/QxConfiguration.xml DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/qx COMPONENT distributor)
install(FILES systemd/qx-distributor.default DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default RENAME qx-distributor
  COMPONENT distributor)
