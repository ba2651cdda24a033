# cmake --install FOLDER [--component application|unit|services|host]: the programs and their data under the prefix, by
# the Filesystem Hierarchy Standard. The programs find the data relative to their own folder (base/installation.h); the
# services are for the prefix /usr.
include(GNUInstallDirs)
set(orvik_data ${CMAKE_INSTALL_DATADIR}/orvik)

install(TARGETS orvik COMPONENT application)
if(NOT ORVIK_HAS_UNIT)
  return()
endif()

install(TARGETS unit film COMPONENT unit)
install(FILES config/generic.xml config/parameters.xml DESTINATION ${orvik_data}/config COMPONENT unit)
install(DIRECTORY config/screen config/words DESTINATION ${orvik_data}/config COMPONENT unit)

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
install(FILES ${packaging}/orvik.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT unit)
install(FILES ${packaging}/orvik.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT unit)

install(DIRECTORY ${packaging}/systemd/ DESTINATION lib/systemd/system COMPONENT services)
install(FILES ${packaging}/sysusers.conf DESTINATION lib/sysusers.d RENAME orvik-unit.conf COMPONENT services)
install(FILES ${packaging}/tmpfiles.conf DESTINATION lib/tmpfiles.d RENAME orvik-unit.conf COMPONENT services)
install(FILES ${packaging}/sysctl.conf DESTINATION lib/sysctl.d RENAME 60-orvik-unit.conf COMPONENT services)
install(FILES ${packaging}/udev.rules DESTINATION lib/udev/rules.d RENAME 70-orvik-unit.rules COMPONENT services)
install(FILES ${packaging}/unit.conf DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/orvik COMPONENT services)
install(PROGRAMS ${packaging}/orvik-unit.sh DESTINATION ${CMAKE_INSTALL_SBINDIR} RENAME orvik-unit COMPONENT services)

install(FILES ${packaging}/orvik-unit.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT services)

install(TARGETS hx7 COMPONENT host)
install(DIRECTORY config/scenarios config/charts DESTINATION ${orvik_data}/config COMPONENT host)
install(FILES config/orvik.dbc DESTINATION ${orvik_data} COMPONENT host)
# Debian's Wireshark reads this folder whatever its version.
install(FILES tools/wireshark/orvik.lua tools/wireshark/orvik_tables.lua
  DESTINATION lib/${CMAKE_LIBRARY_ARCHITECTURE}/wireshark/plugins/orvik COMPONENT host)
