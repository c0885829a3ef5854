# Makes from the one list of exported names what each linker wants.
#
# tolvane.def holds lines `Name=Name@BYTES`: undecorated names for the 32-bit DLL, and a link error where a
# function is missing or takes other arguments. 64-bit Windows takes plain names, ELF a version script.

function(tolvane_limit_exports target list)
  file(STRINGS ${list} lines REGEX "^ *[A-Za-z0-9]+=")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  set(plain "EXPORTS\n")
  set(decorated "LIBRARY Tolvane.dll\nEXPORTS\n")
  set(script "{ global:\n")
  foreach(line ${lines})
    string(REGEX REPLACE "^ *([A-Za-z0-9]+)=([A-Za-z0-9]+@[0-9]+).*" "\\1;\\2" parts ${line})
    list(GET parts 0 name)
    list(GET parts 1 full)
    string(APPEND plain "  ${name}\n")
    string(APPEND decorated "  ${full}\n")
    string(APPEND script "  ${name};\n")
  endforeach()
  string(APPEND script "local: *; };\n")
  set(out ${CMAKE_CURRENT_BINARY_DIR}/exports)
  if(NOT WIN32)
    file(CONFIGURE OUTPUT ${out}.map CONTENT "${script}" @ONLY)
    target_link_options(${target} PRIVATE -Wl,--version-script=${out}.map)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${out}.map)
  elseif(CMAKE_SIZEOF_VOID_P EQUAL 8)
    file(CONFIGURE OUTPUT ${out}.def CONTENT "${plain}" @ONLY)
    target_sources(${target} PRIVATE ${out}.def)
  else()
    target_sources(${target} PRIVATE ${list})
    # The import library that the linker writes is wrong for __stdcall, the host's calls carry the decoration: it is
    # replaced in its place.
    file(CONFIGURE OUTPUT ${out}-decorated.def CONTENT "${decorated}" @ONLY)
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
      COMMAND ${CMAKE_DLLTOOL} -k -d ${out}-decorated.def -D Tolvane.dll -l $<TARGET_LINKER_FILE:${target}>)
  endif()
endfunction()
