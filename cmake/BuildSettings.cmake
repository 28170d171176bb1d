# What every target of the project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

find_program(QX_CCACHE ccache)
if(QX_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${QX_CCACHE})
endif()

# The folders below runtime/ that hold the system calls.
if(WIN32)
  set(QX_PLATFORM windows)
  add_compile_definitions(UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
  include(${CMAKE_CURRENT_LIST_DIR}/RuntimeLibraries.cmake)
else()
  set(QX_PLATFORM posix)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
if(QX_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  add_compile_options(-Wthread-safety)
else()
  add_compile_options(-Wno-restrict) # false alarms of GCC 12 in optimised std::string
endif()

if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options(-Wno-subobject-linkage) # takes what a source includes for a header
endif()

if(QX_SANITIZE)
  add_compile_options(-fsanitize=${QX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QX_SANITIZE})
  add_compile_options(-fno-sanitize=vptr) # its check needs descriptors, which one of the tests uses up
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-Wno-maybe-uninitialized) # false alarms in the standard library's headers
  endif()
endif()

find_package(Threads REQUIRED)
