# libtolvaneN: what programs need that use the library; libtolvane-dev: what is needed to build them; tolvane: the
# program and its manual page.
set(library libtolvane${PROJECT_VERSION_MAJOR})
install(DIRECTORY ${examples} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtolvane-dev/examples COMPONENT development)

# What is derived from other texts: the manual page, the change log as Debian wants it, the licences.
set(made ${CMAKE_CURRENT_BINARY_DIR}/debian)
file(MAKE_DIRECTORY ${made})
string(TIMESTAMP mail_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(debian/changelog.in ${made}/changelog @ONLY)
add_custom_command(OUTPUT ${made}/tolvane.1.gz VERBATIM
  DEPENDS tolvane_program ${CMAKE_CURRENT_SOURCE_DIR}/man-page ${CMAKE_SOURCE_DIR}/docs/program.md
  COMMAND python3 ${CMAKE_CURRENT_SOURCE_DIR}/man-page $<TARGET_FILE:tolvane_program> ${CMAKE_SOURCE_DIR}/docs/program.md
          ${PROJECT_VERSION} ${day} > ${made}/tolvane.1
  COMMAND gzip -9nf ${made}/tolvane.1)
add_custom_command(OUTPUT ${made}/changelog.gz VERBATIM DEPENDS ${made}/changelog
  COMMAND gzip -9nkf ${made}/changelog)
add_custom_command(OUTPUT ${made}/NEWS.gz VERBATIM DEPENDS ${CMAKE_SOURCE_DIR}/CHANGELOG.md
  COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/CHANGELOG.md > ${made}/NEWS.gz)
add_custom_command(OUTPUT ${made}/copyright VERBATIM DEPENDS ${CMAKE_SOURCE_DIR}/LICENSE ${CMAKE_CURRENT_SOURCE_DIR}/licences
  COMMAND python3 ${CMAKE_CURRENT_SOURCE_DIR}/licences ${host_headers}/CLI ${host_headers}/fmt > ${made}/linked
  COMMAND ${CMAKE_COMMAND} -E cat ${CMAKE_SOURCE_DIR}/LICENSE ${made}/linked > ${made}/copyright)
add_custom_target(tolvane_package_files ALL
  DEPENDS tolvane tolvane_program ${made}/tolvane.1.gz ${made}/changelog.gz ${made}/NEWS.gz ${made}/copyright)

install(FILES ${made}/tolvane.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
install(FILES ${made}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tolvane COMPONENT program)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE RENAME copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${library} COMPONENT runtime)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE RENAME copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtolvane-dev
        COMPONENT development)
foreach(part runtime=${library} development=libtolvane-dev program=tolvane)
  string(REPLACE "=" ";" part ${part})
  list(POP_FRONT part component)
  install(FILES ${made}/changelog.gz ${made}/NEWS.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${part} COMPONENT ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${part})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development program)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# Told here, since CPack's own way runs ldconfig from scripts.
file(CONFIGURE OUTPUT ${made}/shlibs CONTENT "libtolvane @PROJECT_VERSION_MAJOR@ @library@ (>= @PROJECT_VERSION@)
libtolvane_platform @PROJECT_VERSION_MAJOR@ @library@ (>= @PROJECT_VERSION@)\n" @ONLY)
file(CONFIGURE OUTPUT ${made}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${made}/shlibs ${made}/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_MULTIARCH same)
# The first line is the summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(about "Tolvane plays, records, edits and converts sound files through one flat C
interface, from file to file and in constant memory.")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION} (library)\n${about}\n
This package has the shared library, and the one that gives it the services
of the system: sound server, codecs, files and messages. Its modules lie in a
folder beside them.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)\n${about}\n
This package has the headers, what CMake and pkg-config ask for, and examples
in C and Python, effect plug-ins among them.")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "${PROJECT_DESCRIPTION} on the command line\n${about}\n
This package has the program, which does all of it in a terminal or in
scripts.")
