# Tests of the dialogs.
core_test(test_dialogs SOURCES test_faces.cpp test_subjectdialog.cpp
  DEPENDS assembly desktop_dialogs Qt6::Svg Qt6::Test)
