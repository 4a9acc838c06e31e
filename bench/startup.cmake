add_executable(minimal_tray minimal_tray.cpp)
target_link_libraries(minimal_tray PRIVATE Qt6::Widgets)

# `cmake --build build/bench --target run_startup_bench`
add_custom_target(run_startup_bench
                  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/startup_bench.py
                          $<TARGET_FILE:stowboard> $<TARGET_FILE:minimal_tray>
                  USES_TERMINAL)

# `cmake --build build/bench --target run_panel_bench`
add_custom_target(run_panel_bench
                  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/panel_bench.py $<TARGET_FILE:stowboard>
                  USES_TERMINAL)
