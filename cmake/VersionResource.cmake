# The version that Windows shows of a library or a program, and that installers compare.
function(tolvane_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  enable_language(RC)
  set(file $<TARGET_FILE_NAME:${target}>)
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/version.rc.in ${resource}.in @ONLY)
  file(GENERATE OUTPUT ${resource} INPUT ${resource}.in)
  # A target of its own: what holds for the compiler is nothing to the resource compiler.
  add_library(${target}_version OBJECT ${resource})
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_version>)
endfunction()
