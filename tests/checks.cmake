# Checks of the sources themselves, which need no build.
add_test(NAME check_rooms COMMAND ${CMAKE_SOURCE_DIR}/tools/check-rooms)
add_test(NAME check_rooms_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/checks/check_rooms_test.py)
add_test(NAME check_format COMMAND ${CMAKE_SOURCE_DIR}/tools/check-format)
set_tests_properties(check_rooms check_rooms_test check_format PROPERTIES TIMEOUT 60 LABELS check)

# Every header compiles alone. One with a source of its own is compiled first in that (the room
# check sees to it); the others get a source that holds nothing else.
file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/src/*.h)
set(alone)
foreach(header ${headers})
  string(REGEX REPLACE "\\.h$" ".cpp" source ${header})
  if(NOT EXISTS ${CMAKE_SOURCE_DIR}/src/${source})
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/headers/${source})
    file(CONFIGURE OUTPUT ${generated} CONTENT "#include \"${header}\"\n")
    list(APPEND alone ${generated})
  endif()
endforeach()
add_library(headers_alone OBJECT ${alone})
target_link_libraries(headers_alone PRIVATE stowboard_app)
