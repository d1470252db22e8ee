# The product's mark, drawn from resources/brask.svg: the library that draws it, the program that
# writes it to a file, and the icon file that macOS wants.

find_package(Qt6 6.4 REQUIRED COMPONENTS Gui Svg)

kelvane_library(kelvane_mark ${CMAKE_SOURCE_DIR}/resources/mark_picture.cpp LIBS Qt6::Gui Qt6::Svg)
add_executable(draw_mark ${CMAKE_SOURCE_DIR}/resources/draw_mark.cpp)
target_link_libraries(draw_mark PRIVATE kelvane_mark)

# kelvane_mark_picture(VARIABLE SIDE): the file in which the build draws the mark, SIDE pixels wide.
function(kelvane_mark_picture variable side)
  set(source ${CMAKE_SOURCE_DIR}/resources/brask.svg)
  set(picture ${CMAKE_BINARY_DIR}/mark/${side}.png)
  get_property(drawn GLOBAL PROPERTY KELVANE_DRAWN_MARKS)
  if(NOT picture IN_LIST drawn)
    add_custom_command(OUTPUT ${picture}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/mark
      COMMAND draw_mark ${source} ${side} ${picture}
      DEPENDS draw_mark ${source}
      VERBATIM)
    set_property(GLOBAL APPEND PROPERTY KELVANE_DRAWN_MARKS ${picture})
  endif()
  set(${variable} ${picture} PARENT_SCOPE)
endfunction()

# kelvane_icon(TARGET ICON): TARGET, which every build makes, draws the mark in each size that an
# icon file has and puts the pictures into ICON. Where the programs of this build cannot run, the
# committed picture has to do, and the icon goes no further than that one does.
function(kelvane_icon target icon)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(make_icns ${CMAKE_SOURCE_DIR}/scripts/make-icns)
  set(pictures)
  if(CMAKE_CROSSCOMPILING)
    set(pictures ${CMAKE_SOURCE_DIR}/resources/brask.png)
  else()
    foreach(side 16 32 64 128 256 512 1024)
      kelvane_mark_picture(picture ${side})
      list(APPEND pictures ${picture})
    endforeach()
  endif()
  cmake_path(GET icon PARENT_PATH folder)
  add_custom_command(OUTPUT ${icon}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND Python3::Interpreter ${make_icns} ${icon} ${pictures}
    DEPENDS ${make_icns} ${pictures}
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${icon})
endfunction()
