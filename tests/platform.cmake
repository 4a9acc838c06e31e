# What the fakes promise, against the suites that the real adapters run.
add_unit_tests(fakes_tests fakes LINK stowboard_models)

# The adapters that need no display.
add_unit_tests(platform_desktop_tests Platform/Desktop LINK stowboard_platform)
add_unit_tests(platform_qt_tests Platform/Qt LINK stowboard_platform)

if(STOWBOARD_X11)
  add_display_tests(x11_workspace_tests Platform/X11WorkspaceTest.cpp LINK stowboard_platform)
  add_display_tests(desktop_looks_tests Platform/DesktopLooksTest.cpp
                    LINK stowboard_platform PkgConfig::SYSTEMD)
endif()

find_program(DESKTOP_FILE_VALIDATE desktop-file-validate REQUIRED)
add_test(NAME desktop_file_is_valid
         COMMAND ${DESKTOP_FILE_VALIDATE} ${CMAKE_SOURCE_DIR}/resources/com.qarvin.stowboard.desktop)

include(platform-x11.cmake OPTIONAL)
include(platform-keys.cmake OPTIONAL)
