if(NOT STOWBOARD_X11)
  return()
endif()

add_display_tests(x11_hot_keys_tests Platform/X11/X11HotKeysTest.cpp LINK stowboard_platform)
add_display_tests(x11_key_event_tests Platform/X11/X11KeyEventPosterTest.cpp LINK stowboard_platform)

# What needs no X server.
add_executable(x11_paste_plan_tests Platform/X11/X11PastePlanTest.cpp)
target_include_directories(x11_paste_plan_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(x11_paste_plan_tests PRIVATE stowboard_platform GTest::gmock_main)
gtest_discover_tests(x11_paste_plan_tests DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 60 LABELS unit)
