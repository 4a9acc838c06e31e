add_bench(capture_bench LINK stowboard_platform)
target_include_directories(capture_bench PRIVATE ${CMAKE_SOURCE_DIR}/tests)
