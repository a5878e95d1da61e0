# Tests that drive the windows. They bring a display of their own along.
core_test(test_windows
  SOURCES windows_main.cpp canvas_test.cpp forms_test.cpp ports_test.cpp windows_test.cpp
  DEPENDS desktop_windows assembly Qt6::Test)
target_compile_definitions(test_windows PRIVATE SCREENS_FILE="${CMAKE_CURRENT_SOURCE_DIR}/screens.json")
set_target_properties(test_windows PROPERTIES AUTOMOC OFF)
