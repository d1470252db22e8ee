# Writes the C++ source OUT that defines each text of FOLDER as `NAMESPACE::NAME`, NAME being the file's
# name in lowerCamel with a k before it and without its ending, declared by HEADER. The line feed that
# ends a file is no part of its text.
#
#     cmake -DHEADER=… -DNAMESPACE=… -DTYPE=… -DOUT=… -DFILES="a.html;b.css" -P EmbedTexts.cmake
set(source "// Written by cmake/EmbedTexts.cmake.\n#include \"${HEADER}\"\n\nnamespace ${NAMESPACE} {\n")
foreach(file IN LISTS FILES)
  file(READ ${file} text)
  string(REGEX REPLACE "\n$" "" text "${text}")
  if(text MATCHES "\\)embedded\"")
    message(FATAL_ERROR "${file} holds what ends its own literal")
  endif()
  cmake_path(GET file STEM LAST_ONLY stem)
  string(REPLACE "_" ";" words ${stem})
  set(name k)
  foreach(word IN LISTS words)
    string(SUBSTRING ${word} 0 1 first)
    string(SUBSTRING ${word} 1 -1 rest)
    string(TOUPPER ${first} first)
    string(APPEND name ${first}${rest})
  endforeach()
  string(APPEND source "\nconst ${TYPE} ${name}{R\"embedded(${text})embedded\"};\n")
endforeach()
string(APPEND source "\n} // namespace ${NAMESPACE}\n")
file(WRITE ${OUT} "${source}")
