# What makes the bundle complete on each system, and what is installed and packed of it.
#
# macOS: Kelvane.app with its property list and icon, Qt inside, as a disk image (DragNDrop).
# Linux: /usr/lib/kelvane/Kelvane.app, a link to its program, the local service, what a desktop shows.

# The identifier is decided where the program itself has it.
file(STRINGS ${CMAKE_SOURCE_DIR}/app/process_settings.cpp KELVANE_BUNDLE_ID
  REGEX "kBundleID = \"[A-Za-z0-9.-]+\"")
if(NOT KELVANE_BUNDLE_ID MATCHES "\"([^\"]+)\"")
  message(FATAL_ERROR "app/process_settings.cpp does not say kBundleID")
endif()
set(KELVANE_BUNDLE_ID ${CMAKE_MATCH_1})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/app/process_settings.cpp)

set(CPACK_PACKAGE_NAME Kelvane)
set(CPACK_PACKAGE_VENDOR "Kelvane Companion")
set(CPACK_PACKAGE_CONTACT "Kelvane Companion <support@trevix.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Grades your work in any application before it ships")
set(CPACK_PACKAGE_HOMEPAGE_URL ${KELVANE_SERVICE_BASE})
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_VERBATIM_VARIABLES ON)

set(bundle ${CMAKE_BINARY_DIR}/Kelvane.app)
if(APPLE)
  include(KelvanePackageMacos)
else()
  include(KelvanePackageLinux)
endif()
include(CPack)
