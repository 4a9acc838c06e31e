add_fuzz_target(text_fuzz LINK stowboard_base)
