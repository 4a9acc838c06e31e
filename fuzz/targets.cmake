include(text.cmake OPTIONAL)

add_fuzz_target(history_fuzz LINK stowboard_models)
add_fuzz_target(settings_fuzz LINK stowboard_models)
