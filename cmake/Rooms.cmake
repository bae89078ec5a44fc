# quillmere_room(NAME [DEPENDS room...] [LIBRARIES target...])
#
# One room of the house: every source below src/NAME as a static library `room_NAME`. DEPENDS names
# the rooms that it may include; tools/check-layers holds the includes to it.
function(quillmere_room name)
  cmake_parse_arguments(ROOM "" "" "DEPENDS;LIBRARIES" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp)
  list(TRANSFORM ROOM_DEPENDS PREPEND room_)
  if(sources)
    add_library(room_${name} STATIC ${sources})
    target_include_directories(room_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(room_${name} PUBLIC ${ROOM_DEPENDS} ${ROOM_LIBRARIES})
  else()
    add_library(room_${name} INTERFACE)
    target_include_directories(room_${name} INTERFACE ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(room_${name} INTERFACE ${ROOM_DEPENDS} ${ROOM_LIBRARIES})
  endif()
endfunction()
