# What holds for every target: language level, warnings as errors, sanitizers, where the outputs lie.

option(TOLVANE_TESTS "Build the tests" ON)
option(TOLVANE_FUZZ "Build the fuzz targets for libFuzzer instead of as tests (clang)" OFF)
set(TOLVANE_SANITIZE "" CACHE STRING "Sanitizers for everything built here, e.g. address,undefined or thread")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

find_package(Threads REQUIRED)

# Every target of ours links this; a dependency's own sources do not.
add_library(tolvane_settings INTERFACE)
target_compile_options(tolvane_settings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
target_compile_definitions(tolvane_settings INTERFACE TOLVANE_VERSION="${PROJECT_VERSION}")
target_include_directories(tolvane_settings INTERFACE ${CMAKE_SOURCE_DIR}/include)
# The position arithmetic is that of doubles; the older unit of 32-bit processors would round it otherwise, and each thread
# as the host has set it up.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i[3-6]86$")
  target_compile_options(tolvane_settings INTERFACE -msse2 -mfpmath=sse)
endif()
if(WIN32)
  target_compile_definitions(tolvane_settings INTERFACE WINVER=0x0501 _WIN32_WINNT=0x0600 NOMINMAX WIN32_LEAN_AND_MEAN)
  target_include_directories(tolvane_settings INTERFACE ${CMAKE_SOURCE_DIR}/platform/windows)
  target_link_options(tolvane_settings INTERFACE -static -Wl,--no-insert-timestamp)
else()
  target_include_directories(tolvane_settings SYSTEM INTERFACE ${CMAKE_SOURCE_DIR}/platform/include)
  # A unique symbol would keep the library mapped after dlclose.
  target_compile_options(tolvane_settings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
endif()
if(TOLVANE_SANITIZE)
  add_compile_options(-fsanitize=${TOLVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TOLVANE_SANITIZE})
  # Services of the system are what some threads run, as they are: their arguments have types of their own.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_compile_options(-fno-sanitize=function)
  endif()
endif()
# Libraries name all that they need; only what clang's sanitizers add to them comes from the program.
if(NOT WIN32 AND NOT (TOLVANE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
  set(no_undefined -Wl,--no-undefined)
endif()
