# Tests that drive the windows. They bring a display of their own along.
core_test(test_windows
  SOURCES windows_main.cpp canvas_test.cpp forms_test.cpp ports_test.cpp tools_test.cpp video_test.cpp
          walk_test.cpp windows_test.cpp
  DEPENDS desktop_windows assembly synth Qt6::Test)
# Recorded pictures for tests: a folder beside the sources, or the one that TARNVISOR_TEST_DATA names.
target_compile_definitions(test_windows PRIVATE
  SCREENS_FILE="${CMAKE_CURRENT_SOURCE_DIR}/screens.json"
  TEST_DATA_FOLDER="${CMAKE_SOURCE_DIR}/../shared/data")
set_target_properties(test_windows PROPERTIES AUTOMOC OFF)
# A movie has slots of its own.
set_source_files_properties(video_test.cpp PROPERTIES COMPILE_DEFINITIONS QT_NO_KEYWORDS)
