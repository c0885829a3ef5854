# Where things go when they are installed, and which of three parts they belong to: `runtime`, `development`, `program`.

# Debian's loader, CMake and pkg-config look for libraries there, below /usr and /usr/local alike.
if(CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version AND NOT CMAKE_CROSSCOMPILING)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Where libraries are installed")
endif()
include(GNUInstallDirs)

# A library that hosts link: exported to them as Tolvane::NAME, here too.
function(tolvane_installed_library target)
  get_target_property(name ${target} EXPORT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  add_library(Tolvane::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  install(TARGETS ${target} EXPORT TolvaneTargets
          RUNTIME COMPONENT runtime
          LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
          ARCHIVE COMPONENT development
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()
