# The shared libraries that the programs of this build load stand beside them: those of the compiler, zlib and Expat.
set(QX_RUNTIME_LIBRARIES)
foreach(library libstdc++-6 libgcc_s_seh-1 libwinpthread-1 zlib1 libexpatw-1)
  execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}.dll
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${path}")
    find_file(QX_DLL_${library} ${library}.dll PATH_SUFFIXES bin lib REQUIRED)
    set(path ${QX_DLL_${library}})
  endif()
  file(COPY ${path} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  list(APPEND QX_RUNTIME_LIBRARIES ${path})
endforeach()
