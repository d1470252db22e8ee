# What every target of the project has in common, and how a folder's tests are declared.

add_library(kelvane_options INTERFACE)
target_include_directories(kelvane_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(kelvane_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Werror
  # gcc 12 sees overlapping copies in plain string concatenation where there are none.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# Made hard to attack, in every build, so that the tests run what is shipped: a stack that notices
# being written past, C functions that know the size of what they write to, addresses that differ from
# start to start, and tables that are read-only once the program runs. The sanitizers see more, and
# these would hide it from them. Looked at in tests/packaging/hardening_test.py.
include(CheckPIESupported)
check_pie_supported()
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT KELVANE_SANITIZE AND NOT KELVANE_FUZZ)
  set(fortify 2)
  # The third level knows sizes that are computed; it needs gcc 12 and glibc 2.35.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
    set(fortify 3)
  endif()
  add_compile_options(-fstack-protector-strong -fstack-clash-protection
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify})
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()

# What is built to be tested is linked in a fifth of the time by lld, and in half of it by gold, which comes
# with Debian's linker; what ships is linked by the system's own.
include(CheckLinkerFlag)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT KELVANE_SANITIZE
   AND NOT KELVANE_FUZZ)
  check_linker_flag(CXX -fuse-ld=lld KELVANE_HAS_LLD)
  check_linker_flag(CXX -fuse-ld=gold KELVANE_HAS_GOLD)
  if(KELVANE_HAS_LLD)
    add_link_options(-fuse-ld=lld)
  elseif(KELVANE_HAS_GOLD)
    add_link_options(-fuse-ld=gold)
  endif()
endif()

if(KELVANE_SANITIZE)
  add_compile_options(-fsanitize=${KELVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KELVANE_SANITIZE})
  # For what sets limits of memory; compilers say it by names of their own.
  target_compile_definitions(kelvane_options INTERFACE KELVANE_SANITIZED)
  # With the calls of this sanitizer between them, gcc 12 takes both ends of a branch over a string's
  # length for one path, and sees copies past the end where there are none; asan would see one happen.
  if(KELVANE_SANITIZE MATCHES "thread")
    target_compile_options(kelvane_options INTERFACE
      $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds> $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>)
    # Asio puts a fence around each handler, which this sanitizer cannot follow. Handlers come through the
    # scheduler's mutex, which it can.
    target_compile_definitions(kelvane_options INTERFACE BOOST_ASIO_DISABLE_FENCED_BLOCK)
  endif()
endif()
if(KELVANE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()

include(KelvanePrecompiled)

# kelvane_library(NAME SOURCES... [LIBS libs...]): one static library per folder.
function(kelvane_library name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "LIBS")
  add_library(${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC kelvane_options ${ARG_LIBS})
  kelvane_use_precompiled(${name} kelvane_library_headers)
endfunction()

# kelvane_tests(NAME SOURCES... [LIBS libs...] [LABELS labels...] [TIMEOUT seconds]
#   [COST seconds] [EACH | WHOLE])
# One test program per folder, each suite of it known to ctest by name. EACH has every case known, for
# those that take seconds, or that this machine or that one skips. WHOLE runs the program as a single test,
# where what is set up (a display, a server) is worth sharing. TIMEOUT is an entry's, and there for what hangs;
# COST is about what an entry takes, for those that take long: they begin first.
#
# Each label is a target too (tests_LABEL) that builds its programs. What scripts/check runs is told by
# these: `desktop` needs a display, `adapter` asks the machine, `measure` measures time or memory, which
# a sanitizer changes, and what is none of these is `logic`; `threads` has more than one. A suite whose
# name ends in Growth measures too: sanitized programs leave it out.
function(kelvane_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "EACH;WHOLE" "COST;TIMEOUT" "LIBS;LABELS")
  if(NOT ARG_COST)
    set(ARG_COST 0)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  # The sanitizers make programs slower by ten times, and run them whole.
  set(leave_out "")
  if(KELVANE_SANITIZE)
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 30")
    set(leave_out --gtest_filter=-*Growth.*)
  endif()
  set(kinds ${ARG_LABELS})
  list(FILTER kinds INCLUDE REGEX "^(desktop|adapter|measure)$")
  if(NOT kinds)
    list(APPEND ARG_LABELS logic)
  endif()
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE
    kelvane_options kelvane_source_tree ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  kelvane_use_precompiled(${name} kelvane_test_headers)
  foreach(label IN LISTS ARG_LABELS)
    if(NOT TARGET tests_${label})
      add_custom_target(tests_${label})
    endif()
    add_dependencies(tests_${label} ${name})
  endforeach()
  # Sanitized, the start of a program takes longer than most tests do.
  if(ARG_WHOLE OR KELVANE_SANITIZE)
    add_test(NAME ${name} COMMAND ${name} ${leave_out})
    set_tests_properties(${name} PROPERTIES
      TIMEOUT ${ARG_TIMEOUT} COST ${ARG_COST} LABELS "${ARG_LABELS}")
  elseif(NOT ARG_EACH)
    set(suites ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake)
    file(GENERATE OUTPUT ${suites} CONTENT "include(${CMAKE_SOURCE_DIR}/cmake/KelvaneSuites.cmake)
kelvane_add_suites(${name} $<TARGET_FILE:${name}> ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.txt
  \"${ARG_LABELS}\" ${ARG_TIMEOUT} ${ARG_COST})
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${suites})
  else()
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST
      PROPERTIES TIMEOUT ${ARG_TIMEOUT} COST ${ARG_COST})
    # Afterwards, for a list does not survive the discovery.
    set(labels ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
    file(WRITE ${labels} "if(${name}_TESTS)
  set_tests_properties(\${${name}_TESTS} PROPERTIES LABELS \"${ARG_LABELS}\")
endif()
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${labels})
  endif()
  foreach(source IN LISTS ARG_UNPARSED_ARGUMENTS)
    cmake_path(ABSOLUTE_PATH source NORMALIZE)
    set_property(GLOBAL APPEND PROPERTY KELVANE_TEST_SOURCES ${source})
    if(source MATCHES "_test\\.cpp$" AND NOT "threads" IN_LIST ARG_LABELS)
      file(STRINGS ${source} starts_threads REGEX "std::(thread|jthread|async)[ ({>]" LIMIT_COUNT 1)
      if(starts_threads)
        message(FATAL_ERROR "${source} starts threads: ${name} has to say LABELS threads")
      endif()
    endif()
  endforeach()
endfunction()

# Fails when a test file on disk belongs to no test program: a forgotten test is a failing one.
function(kelvane_check_tests_registered)
  file(GLOB_RECURSE on_disk CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/*_test.cpp)
  get_property(registered GLOBAL PROPERTY KELVANE_TEST_SOURCES)
  foreach(source IN LISTS on_disk)
    if(NOT source IN_LIST registered)
      message(FATAL_ERROR "${source} is not part of any kelvane_tests()")
    endif()
  endforeach()
endfunction()
