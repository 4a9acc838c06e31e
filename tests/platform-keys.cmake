if(NOT STOWBOARD_X11)
  return()
endif()

add_display_tests(x11_hot_keys_tests Platform/X11/X11HotKeysTest.cpp LINK stowboard_platform)
