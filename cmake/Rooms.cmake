# qx_room(NAME SOURCES... LINKS...): one room of the tree, a static library that sees the tree from its root.
function(qx_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ROOM_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC qx_interface ${ROOM_LINKS})
endfunction()

# qx_test(ROOM LINKS...): the tests of one room, tests/ROOM/*Test.cpp, as one program and one CTest entry a case.
function(qx_test room)
  cmake_parse_arguments(TEST "" "" "LINKS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/${room}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${room}_test ${sources})
  target_include_directories(${room}_test PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${room}_test PRIVATE ${TEST_LINKS} qx_test_support GTest::gmock GTest::gtest)
  gtest_discover_tests(${room}_test DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
endfunction()

# qx_bench(NAME LINKS...): the benchmark bench/NAME.cpp; it prints its figure beside the limit or peer it is held to.
function(qx_bench name)
  cmake_parse_arguments(BENCH "" "" "LINKS" ${ARGN})
  add_executable(bench_${name} ${name}.cpp)
  target_include_directories(bench_${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(bench_${name} PRIVATE ${BENCH_LINKS})
endfunction()
