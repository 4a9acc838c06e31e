# End to end: the built program, from outside, on a private desktop with real applications.
#
# add_session_tests(<file> [ALONE]): one ctest entry for one file of tests. ALONE keeps other tests
# away meanwhile, for what depends on the pace of events.
function(add_session_tests file)
  cmake_parse_arguments(SESSION "ALONE" "" "" ${ARGN})
  set(name session_${file})
  add_test(NAME ${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/session/${file}_test.py)
  set_tests_properties(
    ${name} PROPERTIES TIMEOUT 240 LABELS session ENVIRONMENT
                       STOWBOARD_PROGRAM=$<TARGET_FILE:stowboard>)
  if(SESSION_ALONE)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()

add_session_tests(desktop)
add_session_tests(applications)
add_session_tests(files)
add_session_tests(dbus)
add_session_tests(settings)
add_session_tests(panel ALONE)
add_session_tests(tray)
add_session_tests(paste ALONE)
add_session_tests(clipboard ALONE)
