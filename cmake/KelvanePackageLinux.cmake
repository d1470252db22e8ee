# The Linux side of KelvanePackage.
include(GNUInstallDirs)

install(DIRECTORY ${bundle} DESTINATION lib/kelvane USE_SOURCE_PERMISSIONS)
# The bundle is found from where the link leads.
set(link ${CMAKE_BINARY_DIR}/installed-link/kelvane)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/installed-link)
file(CREATE_LINK ../lib/kelvane/Kelvane.app/Contents/MacOS/Kelvane ${link} SYMBOLIC)
install(FILES ${link} DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS trevix-local RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# What scripts/engines has fetched, if it has; the service looks for it there.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/build/engines/ DESTINATION lib/kelvane/engines OPTIONAL)
install(FILES ${CMAKE_SOURCE_DIR}/resources/brask.svg RENAME ${KELVANE_BUNDLE_ID}.svg
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${CMAKE_SOURCE_DIR}/docs/kelvane.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
file(GLOB entries CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/linux/*.desktop)
install(FILES ${entries} DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

# Nothing here shows it; the tests do look at what the recipe makes.
if(BUILD_TESTING)
  kelvane_icon(macos_icon ${CMAKE_BINARY_DIR}/Kelvane.icns)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_PACKAGE_NAME kelvane)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is loaded or run rather than linked: the panel's parts of Qt, the list of processes. QtQuick
# imports the two others, which Debian's package of it does not ask for.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "procps, qml6-module-qtquick, qml6-module-qtqml, qml6-module-qtqml-workerscript")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "python3, qt6-wayland, tesseract-ocr-eng")
# Asked by the local service when they are there: docs/engines.md.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS
  "bubblewrap, shellcheck, cppcheck, bandit, yamllint, libxml2-utils, nodejs, golang-go")
set(CPACK_STRIP_FILES ON)
