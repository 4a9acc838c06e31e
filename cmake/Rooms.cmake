# add_room(<name> [ONLY regex] [EXCEPT regex] LINK targets...)
#
# A static library of every .cpp in this folder and its wings; ONLY and EXCEPT choose among their
# paths. New files are picked up by the next build without touching a list.
function(add_room name)
  cmake_parse_arguments(ROOM "" "ONLY;EXCEPT" "LINK" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp)
  if(ROOM_ONLY)
    list(FILTER sources INCLUDE REGEX "${ROOM_ONLY}")
  endif()
  if(ROOM_EXCEPT)
    list(FILTER sources EXCLUDE REGEX "${ROOM_EXCEPT}")
  endif()
  add_library(${name} STATIC ${sources})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ROOM_LINK})
endfunction()
