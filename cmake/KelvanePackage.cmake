# What makes the bundle complete on each system, and what is installed of it.
#
# macOS: Kelvane.app with its property list and icon, Qt inside; scripts/package-macos makes a disk image.
# Linux: lib/kelvane/Kelvane.app, the three commands, what a desktop shows; scripts/package packs it.

include(KelvaneIcon)
set(bundle ${CMAKE_BINARY_DIR}/Kelvane.app)
if(APPLE)
  include(KelvanePackageMacos)
else()
  include(KelvanePackageLinux)
endif()
