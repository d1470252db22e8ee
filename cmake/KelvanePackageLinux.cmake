# The Linux side of KelvanePackage: what `cmake --install` puts where.
#
# There are two parts (--component; both without one). `program` runs from wherever it is put, and is all
# of the archive; `system` is what a system's package adds: entries that name the program by its path, and
# units, which are right under the prefix alone that they are installed for.
include(GNUInstallDirs)

set(share ${CMAKE_INSTALL_DATADIR})
set(made ${CMAKE_BINARY_DIR}/package)
file(MAKE_DIRECTORY ${made})

# ---- program

install(DIRECTORY ${bundle} DESTINATION lib/kelvane USE_SOURCE_PERMISSIONS COMPONENT program
  PATTERN __pycache__ EXCLUDE)
# The bundle is found from where the link leads.
set(link ${CMAKE_BINARY_DIR}/installed-link/kelvane)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/installed-link)
file(CREATE_LINK ../lib/kelvane/Kelvane.app/Contents/MacOS/Kelvane ${link} SYMBOLIC)
install(FILES ${link} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(TARGETS trevix-local RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(PROGRAMS ${CMAKE_SOURCE_DIR}/resources/linux/brask DESTINATION ${CMAKE_INSTALL_BINDIR}
  COMPONENT program)
file(GLOB manuals CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/*.1)
install(FILES ${manuals} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)

# Made of what the programs say of themselves, so that they know no other options than these do.
set(commands kelvane trevix-local brask)
set(completions)
foreach(command IN LISTS commands)
  list(APPEND completions ${made}/completions/bash/${command} ${made}/completions/zsh/_${command}
    ${made}/completions/fish/${command}.fish)
endforeach()
add_custom_command(OUTPUT ${completions}
  COMMAND Python3::Interpreter -B ${CMAKE_SOURCE_DIR}/cmake/completions.py
          $<TARGET_FILE:Kelvane> $<TARGET_FILE:trevix-local> ${CMAKE_BINARY_DIR}/kit ${made}/completions
  DEPENDS Kelvane trevix-local kit ${CMAKE_SOURCE_DIR}/cmake/completions.py
          ${CMAKE_SOURCE_DIR}/resources/kit/standing/engine/cli.py
          ${CMAKE_SOURCE_DIR}/resources/kit/standing/engine/dismissals.py
  VERBATIM)
add_custom_target(completions ALL DEPENDS ${completions})
install(DIRECTORY ${made}/completions/bash/ DESTINATION ${share}/bash-completion/completions
  COMPONENT program)
install(DIRECTORY ${made}/completions/zsh/ DESTINATION ${share}/zsh/vendor-completions
  COMPONENT program)
install(DIRECTORY ${made}/completions/fish/ DESTINATION ${share}/fish/vendor_completions.d
  COMPONENT program)

# The mark as it is, and in each size that desktops ask for: not all of them draw the former.
install(FILES ${CMAKE_SOURCE_DIR}/resources/brask.svg RENAME ${KELVANE_BUNDLE_ID}.svg
  DESTINATION ${share}/icons/hicolor/scalable/apps COMPONENT program)
set(icons)
foreach(side 16 22 24 32 48 64 96 128 256 512)
  kelvane_mark_picture(picture ${side})
  list(APPEND icons ${picture})
  install(FILES ${picture} RENAME ${KELVANE_BUNDLE_ID}.png
    DESTINATION ${share}/icons/hicolor/${side}x${side}/apps COMPONENT program)
endforeach()
add_custom_target(desktop_icons ALL DEPENDS ${icons})

# Who holds which rights, those of the grammars and of Wayland's protocols that were compiled in among them.
set(protocols)
if(KELVANE_WAYLAND)
  file(GLOB protocols CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/platform/linux/wayland/protocols/*.xml)
  list(APPEND protocols ${XDG_OUTPUT_XML} ${XDG_ACTIVATION_XML} ${XDG_SHELL_XML} ${PLASMA_WINDOWS_XML}
    ${FAKE_INPUT_XML})
endif()
file(GLOB grammars ${CMAKE_SOURCE_DIR}/build/grammars/installed)
add_custom_command(OUTPUT ${made}/copyright
  COMMAND Python3::Interpreter -B ${CMAKE_SOURCE_DIR}/cmake/package_texts.py copyright
          ${CMAKE_SOURCE_DIR} ${protocols} >${made}/copyright
  DEPENDS ${CMAKE_SOURCE_DIR}/cmake/package_texts.py ${grammars} ${protocols})
add_custom_target(copyright ALL DEPENDS ${made}/copyright)
install(FILES ${made}/copyright DESTINATION ${share}/doc/kelvane COMPONENT program)

# ---- system

install(PROGRAMS ${CMAKE_SOURCE_DIR}/resources/linux/start-at-login DESTINATION lib/kelvane
  COMPONENT system)
file(GLOB units LIST_DIRECTORIES false CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/systemd/*)
file(GLOB system_units CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/systemd/system/*)
# Written while it is installed, when the prefix is known for certain. Under /usr, configuration belongs
# into /etc; under any other prefix below that.
install(CODE "
  set(KELVANE_BUNDLE_ID ${KELVANE_BUNDLE_ID})
  set(KELVANE_SERVICE_BASE ${KELVANE_SERVICE_BASE})
  set(KELVANE_TEMPLATES \"${CMAKE_SOURCE_DIR}/resources/linux\")
  set(KELVANE_UNITS \"${units}\")
  set(KELVANE_SYSTEM_UNITS \"${system_units}\")
  set(KELVANE_PYTHON \"${Python3_EXECUTABLE}\")
  set(KELVANE_SOURCE_DIR \"${CMAKE_SOURCE_DIR}\")
  set(KELVANE_WRITTEN \"${made}/written\")
  include(\"${CMAKE_SOURCE_DIR}/cmake/InstallSystemFiles.cmake\")"
  COMPONENT system)

# Nothing here shows it; the tests do look at what the recipe makes.
if(BUILD_TESTING)
  kelvane_icon(macos_icon ${CMAKE_BINARY_DIR}/Kelvane.icns)
endif()
