# A zip that works from wherever it is unpacked.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(bits 64)
else()
  set(bits 32)
endif()

install(TARGETS tolvane_effect_gain tolvane_effect_gate LIBRARY DESTINATION effects COMPONENT program)
install(DIRECTORY ${examples} DESTINATION examples COMPONENT development)
install(FILES ${CMAKE_SOURCE_DIR}/docs/program.md DESTINATION . COMPONENT program)
configure_file(windows/README.txt.in README.txt @ONLY NEWLINE_STYLE CRLF)
configure_file(${CMAKE_SOURCE_DIR}/LICENSE LICENSE.txt COPYONLY)
configure_file(${CMAKE_SOURCE_DIR}/CHANGELOG.md CHANGES.txt COPYONLY)
foreach(text README LICENSE CHANGES)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${text}.txt DESTINATION . COMPONENT runtime)
endforeach()

# The run-time is linked in: the linkers' maps tell which parts, and so whose licences belong into the zip.
foreach(target tolvane tolvane_program)
  set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  target_link_options(${target} PRIVATE -Wl,-Map=${map})
  list(APPEND maps ${map})
endforeach()
add_custom_command(OUTPUT LINKED.txt VERBATIM
  DEPENDS tolvane tolvane_program ${CMAKE_CURRENT_SOURCE_DIR}/licences
  COMMAND python3 ${CMAKE_CURRENT_SOURCE_DIR}/licences ${maps} ${host_headers}/CLI ${host_headers}/fmt > LINKED.txt)

install(FILES ${CMAKE_CURRENT_BINARY_DIR}/LINKED.txt DESTINATION . COMPONENT runtime)

# GCC has its own import library; other compilers take this one.
set(list ${CMAKE_SOURCE_DIR}/src/exports/tolvane.def)
add_custom_command(OUTPUT Tolvane.lib VERBATIM DEPENDS ${list} ${CMAKE_CURRENT_SOURCE_DIR}/windows/import-library
  COMMAND python3 ${CMAKE_CURRENT_SOURCE_DIR}/windows/import-library ${list} ${bits} Tolvane.dll Tolvane.lib)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/Tolvane.lib DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
add_custom_target(tolvane_package_files ALL
  DEPENDS tolvane tolvane_program tolvane_effect_gain tolvane_effect_gate LINKED.txt Tolvane.lib)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME tolvane-${PROJECT_VERSION}-win${bits})
