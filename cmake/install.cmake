# cmake --install FOLDER [--component application|unit|host]: the programs and their data under the prefix, by the
# Filesystem Hierarchy Standard. The programs find the data relative to their own folder (base/installation.h).
include(GNUInstallDirs)
set(orvik_data ${CMAKE_INSTALL_DATADIR}/orvik)

install(TARGETS orvik COMPONENT application)
if(NOT ORVIK_HAS_UNIT)
  return()
endif()

install(TARGETS unit film COMPONENT unit)
install(FILES config/generic.xml config/parameters.xml DESTINATION ${orvik_data}/config COMPONENT unit)
install(DIRECTORY config/screen config/words DESTINATION ${orvik_data}/config COMPONENT unit)

install(TARGETS hx7 COMPONENT host)
install(DIRECTORY config/scenarios config/charts DESTINATION ${orvik_data}/config COMPONENT host)
install(FILES config/orvik.dbc DESTINATION ${orvik_data} COMPONENT host)
# Debian's Wireshark reads this folder whatever its version.
install(FILES tools/wireshark/orvik.lua tools/wireshark/orvik_tables.lua
  DESTINATION lib/${CMAKE_LIBRARY_ARCHITECTURE}/wireshark/plugins/orvik COMPONENT host)
