if(STOWBOARD_X11)
  add_fuzz_target(selection_text_fuzz LINK stowboard_platform)
endif()
