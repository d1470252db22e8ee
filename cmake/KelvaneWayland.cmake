# The protocols that the Wayland adapters speak, as C made of their descriptions.
#
# Descriptions come from the packages that hold them; those of wlroots, which none holds, are copies of
# their public files (platform/linux/wayland/protocols). Where anything is missing KELVANE_WAYLAND is
# off, and the product finds no Wayland desktop.
set(KELVANE_WAYLAND OFF CACHE INTERNAL "Whether the Wayland adapters are built")

pkg_check_modules(wayland IMPORTED_TARGET wayland-client>=1.20 libsystemd)
find_program(WAYLAND_SCANNER wayland-scanner)
pkg_get_variable(wayland_protocols_folder wayland-protocols pkgdatadir)
find_package(PlasmaWaylandProtocols QUIET)
find_file(XDG_OUTPUT_XML unstable/xdg-output/xdg-output-unstable-v1.xml
  HINTS ${wayland_protocols_folder})
find_file(XDG_ACTIVATION_XML staging/xdg-activation/xdg-activation-v1.xml
  HINTS ${wayland_protocols_folder})
find_file(PLASMA_WINDOWS_XML plasma-window-management.xml HINTS ${PLASMA_WAYLAND_PROTOCOLS_DIR})
find_file(FAKE_INPUT_XML fake-input.xml HINTS ${PLASMA_WAYLAND_PROTOCOLS_DIR})
if(NOT wayland_FOUND OR NOT WAYLAND_SCANNER OR NOT XDG_OUTPUT_XML OR NOT XDG_ACTIVATION_XML
    OR NOT PLASMA_WINDOWS_XML
    OR NOT FAKE_INPUT_XML)
  message(STATUS "Something of Wayland is missing: no Wayland desktops (scripts/bootstrap build)")
  return()
endif()
set(KELVANE_WAYLAND ON CACHE INTERNAL "Whether the Wayland adapters are built")

enable_language(C)
# The presets say how C++ is compiled; what the descriptions become is hardened by the same.
set(CMAKE_C_FLAGS_DEBUG "${CMAKE_CXX_FLAGS_DEBUG}")
set(CMAKE_C_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
set(CMAKE_C_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO}")
file(GLOB protocols CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/platform/linux/wayland/protocols/*.xml)
list(APPEND protocols ${XDG_OUTPUT_XML} ${XDG_ACTIVATION_XML} ${PLASMA_WINDOWS_XML} ${FAKE_INPUT_XML})
set(folder ${CMAKE_BINARY_DIR}/wayland)
file(MAKE_DIRECTORY ${folder})
set(made)
foreach(protocol IN LISTS protocols)
  cmake_path(GET protocol STEM LAST_ONLY name)
  add_custom_command(OUTPUT ${folder}/${name}-client-protocol.h ${folder}/${name}.c
    COMMAND ${WAYLAND_SCANNER} client-header ${protocol} ${folder}/${name}-client-protocol.h
    COMMAND ${WAYLAND_SCANNER} private-code ${protocol} ${folder}/${name}.c
    DEPENDS ${protocol}
    VERBATIM)
  list(APPEND made ${folder}/${name}-client-protocol.h ${folder}/${name}.c)
endforeach()
# The layer shell names the popups of this one.
find_file(XDG_SHELL_XML stable/xdg-shell/xdg-shell.xml
  HINTS ${wayland_protocols_folder})
add_custom_command(OUTPUT ${folder}/xdg-shell.c
  COMMAND ${WAYLAND_SCANNER} private-code ${XDG_SHELL_XML} ${folder}/xdg-shell.c
  DEPENDS ${XDG_SHELL_XML}
  VERBATIM)
add_library(kelvane_wayland_protocols STATIC ${made} ${folder}/xdg-shell.c)
target_include_directories(kelvane_wayland_protocols SYSTEM PUBLIC ${folder})
target_link_libraries(kelvane_wayland_protocols PUBLIC PkgConfig::wayland)
