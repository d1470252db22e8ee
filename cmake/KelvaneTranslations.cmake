# The product's texts in other languages: resources/translations/LANGUAGE.ts, which people edit, compiled
# into the program. English is what stands in the sources. scripts/translations collects the texts.

# Debian keeps Qt's tools off the search path.
find_program(LRELEASE NAMES lrelease lrelease-qt6 REQUIRED
  HINTS /usr/lib/qt6/bin ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS})

set(KELVANE_LANGUAGES de fr es ja)

# kelvane_compile_translation(FROM.ts TO.qm)
function(kelvane_compile_translation from to)
  cmake_path(GET to PARENT_PATH folder)
  add_custom_command(OUTPUT ${to}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${LRELEASE} -silent ${from} -qm ${to}
    DEPENDS ${from}
    VERBATIM)
endfunction()

# kelvane_add_translations(TARGET): as resources, ":/kelvane/translations/LANGUAGE.qm".
function(kelvane_add_translations target)
  foreach(language IN LISTS KELVANE_LANGUAGES)
    set(compiled ${CMAKE_CURRENT_BINARY_DIR}/translations/${language}.qm)
    kelvane_compile_translation(${CMAKE_SOURCE_DIR}/resources/translations/${language}.ts ${compiled})
    list(APPEND files ${compiled})
  endforeach()
  qt_add_resources(${target} kelvane_translations
    PREFIX /kelvane/translations
    BASE ${CMAKE_CURRENT_BINARY_DIR}/translations
    FILES ${files})
endfunction()
