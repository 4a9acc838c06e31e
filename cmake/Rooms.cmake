# add_room(<name> [SOURCES dir...] [LINK targets...])
#
# One static library per room: every .cpp of the given folders, not of their subfolders. New files
# are picked up by the next build without touching a list.
function(add_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINK" ${ARGN})
  set(globs)
  foreach(dir ${ROOM_SOURCES})
    list(APPEND globs ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.cpp)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${globs})
  add_library(${name} STATIC ${sources})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ROOM_LINK})
endfunction()
