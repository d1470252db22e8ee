# Makes one folder hold what another one holds now, as a build step:
#
#   cmake -DFROM=folder -DTO=folder [-DWITHOUT=regex] [-DMADE=name;name] -P MirrorFolder.cmake
#
# What WITHOUT matches of FROM is not taken along; what MADE names in TO comes from elsewhere and stays.
# Python's leftovers are not taken along, and what FROM no longer has goes from TO. Files that are as
# they were are not touched. The list is read anew at every build, so a new file needs no configuring.

cmake_minimum_required(VERSION 3.25)

set(leftovers "(^|/)(__pycache__(/|$)|[^/]*\\.pyc$)")

file(GLOB_RECURSE wanted LIST_DIRECTORIES true RELATIVE ${FROM} ${FROM}/*)
list(FILTER wanted EXCLUDE REGEX "${leftovers}")
if(WITHOUT)
  list(FILTER wanted EXCLUDE REGEX "${WITHOUT}")
endif()
file(GLOB_RECURSE there LIST_DIRECTORIES true RELATIVE ${TO} ${TO}/*)
foreach(name IN LISTS there)
  if(NOT name IN_LIST wanted AND NOT name IN_LIST MADE)
    file(REMOVE_RECURSE ${TO}/${name})
  endif()
endforeach()
file(MAKE_DIRECTORY ${TO})
foreach(name IN LISTS wanted)
  if(IS_DIRECTORY ${FROM}/${name})
    file(MAKE_DIRECTORY ${TO}/${name})
  else()
    file(COPY_FILE ${FROM}/${name} ${TO}/${name} ONLY_IF_DIFFERENT)
  endif()
endforeach()
