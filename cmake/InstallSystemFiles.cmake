# Run while it is installed: what names the program by its path. See KelvanePackageLinux, which sets the
# variables; the time of what is not released yet is $SOURCE_DATE_EPOCH, or none's.
set(prefix "${CMAKE_INSTALL_PREFIX}")
set(program "${prefix}/lib/kelvane/Kelvane.app/Contents/MacOS/Kelvane")
set(KELVANE_BIN_DIR "${prefix}/bin")
set(etc "${prefix}/etc")
if(prefix STREQUAL "/usr")
  set(etc /etc)
endif()

set(time "$ENV{SOURCE_DATE_EPOCH}")
if(time STREQUAL "")
  set(time 0)
endif()
execute_process(
  COMMAND "${KELVANE_PYTHON}" -B "${KELVANE_SOURCE_DIR}/cmake/package_texts.py" releases
          "${KELVANE_SOURCE_DIR}" ${time}
  OUTPUT_VARIABLE releases OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

# write(TEMPLATE NAME FOLDER)
function(write template name folder)
  configure_file("${template}" "${KELVANE_WRITTEN}/${name}" @ONLY)
  file(INSTALL "${KELVANE_WRITTEN}/${name}" DESTINATION "${folder}")
endfunction()

write("${KELVANE_TEMPLATES}/menu.desktop.in" ${KELVANE_BUNDLE_ID}.desktop "${prefix}/share/applications")
write("${KELVANE_TEMPLATES}/kwin.desktop.in" ${KELVANE_BUNDLE_ID}.kwin.desktop
  "${prefix}/share/applications")
write("${KELVANE_TEMPLATES}/metainfo.xml.in" ${KELVANE_BUNDLE_ID}.metainfo.xml "${prefix}/share/metainfo")
# Named as the entry that the program writes itself, which takes its place then.
write("${KELVANE_TEMPLATES}/autostart.desktop.in" ${KELVANE_BUNDLE_ID}.desktop "${etc}/xdg/autostart")
# write_units(FOLDER UNIT...)
function(write_units folder)
  foreach(unit IN LISTS ARGN)
    cmake_path(GET unit FILENAME name)
    string(REGEX REPLACE "\\.in$" "" name "${name}")
    write("${unit}" "${name}" "${prefix}/lib/systemd/${folder}")
  endforeach()
endfunction()

write_units(user ${KELVANE_UNITS})
write_units(system ${KELVANE_SYSTEM_UNITS})
