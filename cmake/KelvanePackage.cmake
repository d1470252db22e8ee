# What makes the bundle complete on each system, and what is installed and packed of it.
#
# macOS: Kelvane.app with its property list and icon, Qt inside, as a disk image (DragNDrop).
# Linux: /usr/lib/kelvane/Kelvane.app, a link to its program, the local service, what a desktop shows.

# kelvane_read_constant(VARIABLE FILE BEFORE): what stands in quotes after BEFORE in a source of the
# program, which is where it is decided.
function(kelvane_read_constant variable file before)
  file(STRINGS ${CMAKE_SOURCE_DIR}/${file} line REGEX "${before} *\"[^\"]+\"" LIMIT_COUNT 1)
  if(NOT line MATCHES "\"([^\"]+)\"")
    message(FATAL_ERROR "${file} does not say ${before}")
  endif()
  set(${variable} ${CMAKE_MATCH_1} PARENT_SCOPE)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${file})
endfunction()

kelvane_read_constant(KELVANE_BUNDLE_ID app/process_settings.cpp "kBundleID =")
if(NOT KELVANE_SERVICE_BASE)
  kelvane_read_constant(KELVANE_SERVICE_BASE eval/service_address.h "define KELVANE_SERVICE_BASE")
endif()

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
