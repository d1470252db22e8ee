# What makes the bundle complete on each system, and what is installed and packed of it.
#
# macOS: Kelvane.app with its property list and icon, Qt inside, as a disk image (DragNDrop).
# Linux: /usr/lib/kelvane/Kelvane.app, a link to its program, the local service, what a desktop shows.

set(CPACK_PACKAGE_NAME Kelvane)
set(CPACK_PACKAGE_VENDOR "Kelvane Companion")
set(CPACK_PACKAGE_CONTACT "Kelvane Companion <support@trevix.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Grades your work in any application before it ships")
set(CPACK_PACKAGE_HOMEPAGE_URL ${KELVANE_SERVICE_BASE})
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_VERBATIM_VARIABLES ON)

include(KelvaneIcon)
set(bundle ${CMAKE_BINARY_DIR}/Kelvane.app)
if(APPLE)
  include(KelvanePackageMacos)
else()
  include(KelvanePackageLinux)
endif()
include(CPack)
