# quillmere_room(NAME [DEPENDS room...] [LIBRARIES target...] [LATE target...])
#
# One room of the house: every source below src/NAME as a static library `room_NAME`. DEPENDS names
# the rooms that it may include; tools/check-layers holds the includes to it. LATE names libraries
# that the room loads itself when it needs them: it is compiled with their headers but not linked.
function(quillmere_room name)
  cmake_parse_arguments(ROOM "" "" "DEPENDS;LIBRARIES;LATE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp)
  list(TRANSFORM ROOM_DEPENDS PREPEND room_)
  if(sources)
    add_library(room_${name} STATIC ${sources})
    target_include_directories(room_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(room_${name} PUBLIC ${ROOM_DEPENDS} ${ROOM_LIBRARIES})
    foreach(library ${ROOM_LATE})
      target_include_directories(room_${name} SYSTEM PRIVATE
        $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
      target_compile_options(room_${name} PRIVATE
        $<TARGET_PROPERTY:${library},INTERFACE_COMPILE_OPTIONS>)
    endforeach()
  else()
    add_library(room_${name} INTERFACE)
    target_include_directories(room_${name} INTERFACE ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(room_${name} INTERFACE ${ROOM_DEPENDS} ${ROOM_LIBRARIES})
  endif()
endfunction()
