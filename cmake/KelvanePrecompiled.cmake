# Headers that nearly every source reads, parsed once for all of them.
#
# nlohmann/json.hpp is left out: what it has every source instantiate costs each of them more than
# reading it costs the few that use it. Presets that build for others, or with another compiler, turn
# this off (CMAKE_DISABLE_PRECOMPILE_HEADERS), which finds the source that forgot an include.

set(precompiled
  <algorithm> <array> <chrono> <cstdint> <deque> <filesystem> <fstream> <functional> <map> <memory>
  <mutex> <optional> <set> <sstream> <string> <string_view> <thread> <utility> <variant> <vector>)
set(precompiled_source ${CMAKE_BINARY_DIR}/precompiled_headers.cpp)
file(GENERATE OUTPUT ${precompiled_source} CONTENT "// There only to be compiled after its headers.\n")

if(NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
  # A compiler takes only what was parsed with its own options: one set for libraries, and one for
  # tests, all of which are compiled as Qt wants those that use it (KelvaneTargets).
  add_library(kelvane_library_headers STATIC ${precompiled_source})
  target_link_libraries(kelvane_library_headers PRIVATE kelvane_options)
  target_precompile_headers(kelvane_library_headers PRIVATE ${precompiled})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Lets ccache see through a precompiled header.
    target_compile_options(kelvane_options INTERFACE -fpch-preprocess)
  endif()
  if(BUILD_TESTING)
    find_package(GTest REQUIRED)
    add_library(kelvane_test_headers STATIC ${precompiled_source})
    target_link_libraries(kelvane_test_headers PRIVATE kelvane_options GTest::gmock)
    target_precompile_headers(kelvane_test_headers PRIVATE
      ${precompiled} <gmock/gmock.h> <gtest/gtest.h>)
  endif()
endif()

# kelvane_use_precompiled(TARGET FROM): where there are any.
function(kelvane_use_precompiled target from)
  if(NOT TARGET ${from})
    return()
  endif()
  target_precompile_headers(${target} REUSE_FROM ${from})
  # What was parsed for libraries, which may go into the module, is of no use to what is compiled otherwise.
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE" AND NOT APPLE)
    target_compile_options(${target} PRIVATE -fPIC)
  endif()
  # Objective-C++ is another language to a compiler that reads these.
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.mm$")
  if(sources)
    set_source_files_properties(${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()
