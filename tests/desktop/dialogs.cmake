# Tests of the dialogs.
core_test(test_dialogs SOURCES windows_main.cpp test_faces.cpp test_subjectdialog.cpp
  DEPENDS assembly desktop_dialogs Qt6::Svg Qt6::Test)
target_compile_definitions(test_dialogs PRIVATE SCREENS_FILE="${CMAKE_CURRENT_SOURCE_DIR}/screens.json")
set_target_properties(test_dialogs PROPERTIES AUTOMOC OFF)
