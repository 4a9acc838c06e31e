if(NOT STOWBOARD_X11)
  return()
endif()

# What the selection adapter decides without an X server.
add_executable(x11_unit_tests Platform/X11/SelectionRulesTest.cpp)
target_include_directories(x11_unit_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(x11_unit_tests PRIVATE stowboard_platform GTest::gmock_main)
gtest_discover_tests(x11_unit_tests DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 60 LABELS unit)

add_display_tests(x11_pasteboard_tests Platform/X11/X11PasteboardTest.cpp LINK stowboard_platform)
add_display_tests(x11_serving_tests Platform/X11/SelectionServingTest.cpp LINK stowboard_platform)
