# The macOS side of KelvanePackage.

configure_file(${CMAKE_SOURCE_DIR}/resources/macos/Info.plist.in ${bundle}/Contents/Info.plist @ONLY)
configure_file(${CMAKE_SOURCE_DIR}/resources/macos/kelvane.rb.in ${CMAKE_BINARY_DIR}/kelvane.rb @ONLY)

kelvane_icon(bundle_icon ${bundle}/Contents/Resources/Kelvane.icns)

install(DIRECTORY ${bundle} DESTINATION . USE_SOURCE_PERMISSIONS)
# The program is linked against the Qt of the machine that builds it; this brings Qt along.
get_target_property(qmake Qt6::qmake IMPORTED_LOCATION)
cmake_path(GET qmake PARENT_PATH qt_programs)
find_program(MACDEPLOYQT macdeployqt HINTS ${qt_programs})
install(CODE "
  execute_process(COMMAND \"${MACDEPLOYQT}\" \"\${CMAKE_INSTALL_PREFIX}/Kelvane.app\"
    \"-executable=\${CMAKE_INSTALL_PREFIX}/Kelvane.app/Contents/Frameworks/$<TARGET_FILE_NAME:KelvaneShell>\"
    \"-qmldir=${CMAKE_SOURCE_DIR}/app/panel/qml\" -always-overwrite
    COMMAND_ERROR_IS_FATAL ANY)")
