# Toolchain: compile the macOS build on another system, to see that it compiles and links.
#
#   cmake -S . -B BUILD -G Ninja --toolchain cmake/MacosCross.cmake -D MACOS_SDK=FOLDER
#
# FOLDER holds include/ and Frameworks/ of a macOS SDK. The headers of portable libraries (Qt too)
# are taken from this system, whose copies are the same, and nothing can be linked against them:
# build libraries, and link what uses the system's own frameworks. scripts/check-macos-link does it.

# Read once more after project(): a library that stands in /usr/include must not bring that folder,
# nor the one of this processor's headers below it.
set(CMAKE_PROJECT_INCLUDE ${CMAKE_CURRENT_LIST_FILE})
file(GLOB own_headers /usr/include/*-linux-gnu)
if(CMAKE_CXX_COMPILER_LOADED)
  list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include ${own_headers})
  # What a distribution adds to its copy of a library needs headers that are not portable.
  foreach(addition OPENSSL BROTLI ZLIB)
    string(REPLACE " -o <OBJECT>" " -UCPPHTTPLIB_${addition}_SUPPORT -o <OBJECT>"
      CMAKE_CXX_COMPILE_OBJECT "${CMAKE_CXX_COMPILE_OBJECT}")
  endforeach()
  # Programs end with their last object: what "links" them leaves an empty file.
  set(CMAKE_CXX_LINK_EXECUTABLE "<CMAKE_COMMAND> -E touch <TARGET>")
  set(CMAKE_CXX_CREATE_SHARED_MODULE "<CMAKE_COMMAND> -E touch <TARGET>")
  return()
endif()

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22.0)
set(MACOS_ARCH arm64 CACHE STRING "arm64 or x86_64")
set(CMAKE_SYSTEM_PROCESSOR ${MACOS_ARCH})
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MACOS_SDK MACOS_ARCH)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
if(NOT EXISTS "${MACOS_SDK}/Frameworks/AppKit.framework/Headers/AppKit.h")
  message(FATAL_ERROR "MACOS_SDK must name a folder with include/ and Frameworks/ of a macOS SDK")
endif()

set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_C_COMPILER clang-16)
set(CMAKE_AR llvm-ar-16)
set(CMAKE_RANLIB llvm-ranlib-16)
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-16)
set(CMAKE_CXX_COMPILER_TARGET ${MACOS_ARCH}-apple-macos13.0)
set(CMAKE_C_COMPILER_TARGET ${MACOS_ARCH}-apple-macos13.0)
set(CMAKE_OSX_ARCHITECTURES "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")
set(CMAKE_OSX_SYSROOT "")

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-resource-dir
  OUTPUT_VARIABLE resources OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
# Of this system's headers only those of portable libraries, never those of its C library.
set(portable ${CMAKE_BINARY_DIR}/portable-headers)
foreach(header nlohmann utf8proc.h boost nettle png.h pngconf.h pnglibconf.h libpng16 re2 sqlite3.h
    zconf.h zlib.h cmark-gfm.h cmark-gfm_export.h cmark-gfm_version.h cmark-gfm-core-extensions.h
    cmark-gfm-extension_api.h cmark-gfm-extensions_export.h curl tree_sitter tesseract leptonica
    pugixml.hpp pugiconfig.hpp zip.h zipconf.h)
  foreach(folder /usr/include ${own_headers})
    if(EXISTS ${folder}/${header} AND NOT EXISTS ${portable}/${header})
      file(MAKE_DIRECTORY ${portable})
      file(CREATE_LINK ${folder}/${header} ${portable}/${header} SYMBOLIC)
    endif()
  endforeach()
endforeach()
# This library keeps its headers in two folders.
file(MAKE_DIRECTORY ${portable}/openssl)
foreach(folder /usr/include ${own_headers})
  file(GLOB headers ${folder}/openssl/*.h)
  foreach(header IN LISTS headers)
    cmake_path(GET header FILENAME name)
    if(NOT EXISTS ${portable}/openssl/${name})
      file(CREATE_LINK ${header} ${portable}/openssl/${name} SYMBOLIC)
    endif()
  endforeach()
endforeach()
string(CONCAT flags "-nostdinc -isystem ${resources}/include -isystem ${MACOS_SDK}/include "
  "-iframework ${MACOS_SDK}/Frameworks -isystem ${portable}")
set(CMAKE_C_FLAGS_INIT "${flags}")
# This system's Boost may be older than what macOS's packages have, and asks for a std::result_of that
# libc++ has no more.
set(CMAKE_CXX_FLAGS_INIT
  "-nostdinc++ -isystem ${MACOS_SDK}/include/c++/v1 ${flags} -DBOOST_ASIO_HAS_STD_INVOKE_RESULT=1")
list(APPEND CMAKE_FRAMEWORK_PATH ${MACOS_SDK}/Frameworks)

# Found without being looked for: there are headers for them, and no library to link.
set(Boost_NO_BOOST_CMAKE ON CACHE BOOL "")
set(Boost_INCLUDE_DIR ${portable} CACHE PATH "")
set(SQLite3_INCLUDE_DIR ${portable} CACHE PATH "")
set(PNG_PNG_INCLUDE_DIR ${portable} CACHE PATH "")
set(ZLIB_INCLUDE_DIR ${portable} CACHE PATH "")
foreach(library SQLite3_LIBRARY PNG_LIBRARY_RELEASE ZLIB_LIBRARY_RELEASE)
  set(${library} ${CMAKE_CURRENT_LIST_FILE} CACHE FILEPATH "")
endforeach()
# Qt's headers know both systems; its description for CMake lies in a folder of this system's own.
file(GLOB qt_descriptions /usr/lib/*/cmake/Qt6)
foreach(folder IN LISTS qt_descriptions)
  cmake_path(GET folder PARENT_PATH folder)
  list(APPEND CMAKE_PREFIX_PATH ${folder})
endforeach()
