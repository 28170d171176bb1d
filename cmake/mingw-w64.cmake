# Cross compilation for 64-bit Windows with MinGW-w64. The threads are those of winpthreads, as the standard library
# wants them; the runtime libraries are shared ones, so that exceptions and standard types cross the library's boundary.
# Programs are run under Wine. What Debian has no cross package of comes from QX_WINDOWS_DEPENDENCIES, which
# scripts/windows-dependencies fills.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(QX_WINDOWS_DEPENDENCIES ${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps CACHE PATH "Dependencies built for Windows")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QX_WINDOWS_DEPENDENCIES)

set(CMAKE_FIND_ROOT_PATH ${QX_WINDOWS_DEPENDENCIES} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(QX_WINE NAMES wine wine64)
if(QX_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${QX_WINE})
endif()
