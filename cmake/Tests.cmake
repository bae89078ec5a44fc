# quillmere_unit_tests(ROOM [LIBRARIES target...])
#
# The unit tests of one room: every source below tests/unit/ROOM in one program.
function(quillmere_unit_tests room)
  cmake_parse_arguments(UNIT "" "" "LIBRARIES" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/unit/${room}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(unit_${room} ${sources})
  target_include_directories(unit_${room} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(unit_${room} PRIVATE room_${room} ${UNIT_LIBRARIES} GTest::gtest_main)
  add_test(NAME unit_${room} COMMAND unit_${room} --gtest_brief=1
           WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
  set_tests_properties(unit_${room} PROPERTIES
    ENVIRONMENT "QUILLMERE_PLATFORM=headless" TIMEOUT 600)
endfunction()
