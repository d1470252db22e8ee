# What ctest reads before it runs: an entry for each suite of a test program.
#
# A case takes some milliseconds and a process ten, so that an entry for each case would spend most of the
# time on starting programs. What the program lists is kept beside it until it is built anew.

# kelvane_add_suites(NAME PROGRAM FOUND LABELS TIMEOUT COST): NAME.SUITE for every suite of PROGRAM that has
# a case; FOUND is the file that keeps what was listed.
function(kelvane_add_suites name program found labels timeout cost)
  if(NOT EXISTS ${program})
    # As gtest_discover_tests has it: an entry that cannot pass.
    add_test(${name}_NOT_BUILT ${name}_NOT_BUILT)
    return()
  endif()
  if(NOT EXISTS ${found} OR NOT ${found} IS_NEWER_THAN ${program} OR
     NOT ${found} IS_NEWER_THAN ${CMAKE_CURRENT_FUNCTION_LIST_FILE})
    execute_process(COMMAND ${program} --gtest_list_tests
      OUTPUT_VARIABLE listed RESULT_VARIABLE result TIMEOUT 60)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "${program} does not list its tests (${result}):\n${listed}")
    endif()
    # What stands behind a mark tells of a type or a value. A suite begins a line and ends in a full stop.
    string(REGEX REPLACE " +#[^\n]*" "" listed "${listed}")
    string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\.\n  [^\n]" suites "${listed}")
    list(TRANSFORM suites REPLACE "^\n?([A-Za-z0-9_/]+)\\..*" "\\1")
    file(WRITE ${found} "${suites}")
  endif()
  file(READ ${found} suites)
  foreach(suite IN LISTS suites)
    add_test(${name}.${suite} ${program} --gtest_filter=${suite}.*)
    # Told as skipped when a case was, and none failed: then the list of them is the last thing said.
    set_tests_properties(${name}.${suite} PROPERTIES LABELS "${labels}"
      TIMEOUT ${timeout} COST ${cost}
      SKIP_REGULAR_EXPRESSION "listed below:(\n\\[  SKIPPED \\] [^\n]*)+\n*$")
  endforeach()
endfunction()
