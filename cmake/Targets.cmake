# Several sources are compiled as one where CMAKE_UNITY_BUILD says so: in half the time.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)

# qx_module(NAME SOURCES... LINKS...): one module, a static library that sees the tree from its root.
function(qx_module name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  if(ROOM_SOURCES)
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC qx_interface ${ROOM_LINKS})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE qx_interface ${ROOM_LINKS})
  endif()
endfunction()

include(GenerateExportHeader)

# qx_public_library(NAME FOLDER): what a library that others link has beside its sources: its versions, the public headers
# in include/FOLDER, the generated NAMEExport.h among them, and the exports that exports.map lists.
function(qx_public_library name folder)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/include)
  generate_export_header(${name} EXPORT_FILE_NAME ${generated}/${folder}/${name}Export.h)
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${generated}> $<INSTALL_INTERFACE:include>)
  target_compile_features(${name} INTERFACE cxx_std_17)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    set_target_properties(${name} PROPERTIES PREFIX "")
  else()
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
    target_link_options(${name} PRIVATE LINKER:--version-script,${exports} LINKER:--no-undefined)
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${exports})
  endif()
  if(QX_INSTALL)
    install(TARGETS ${name} EXPORT QxClientTargets
      RUNTIME COMPONENT library
      LIBRARY COMPONENT library NAMELINK_COMPONENT development
      ARCHIVE COMPONENT development
      INCLUDES DESTINATION include)
    install(DIRECTORY include/${folder} ${generated}/${folder} TYPE INCLUDE COMPONENT development 
      FILES_MATCHING PATTERN "*.h" PATTERN internal EXCLUDE)
  endif()
endfunction()

# qx_test(MODULE LINKS...): the tests of one module, tests/MODULE/*.cpp, as one program with one CTest entry for each case; one
# entry for the program, and fewer of the calls made at random, where each start of a program takes long. Files named ...Posix.cpp,
# ...PosixTest.cpp and so on are of that platform.
function(qx_test module)
  cmake_parse_arguments(TEST "" "" "LINKS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/${module}/*.cpp)
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "Posix(Test)?\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "Windows(Test)?\\.cpp$")
  endif()
  add_executable(${module}_test ${sources})
  target_include_directories(${module}_test PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${module}_test PRIVATE ${TEST_LINKS} qx_test_support GTest::gmock GTest::gtest)
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${module} COMMAND ${module}_test)
    set_tests_properties(${module} PROPERTIES TIMEOUT 900 ENVIRONMENT QX_TEST_CALLS=40)
  else()
    gtest_discover_tests(${module}_test DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
  endif()
endfunction()

# qx_bench(NAME LINKS...): the benchmark bench/NAME.cpp; it prints its figure beside the limit or peer it is held to.
function(qx_bench name)
  cmake_parse_arguments(BENCH "" "" "LINKS" ${ARGN})
  add_executable(bench_${name} ${name}.cpp)
  target_include_directories(bench_${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(bench_${name} PRIVATE ${BENCH_LINKS})
endfunction()
