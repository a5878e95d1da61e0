# Drawing with Qt; the script runner uses it too.
core_library(desktop_canvas desktop
  HEADERS paintercanvas.h qttext.h
  SOURCES paintercanvas.cpp qttext.cpp
  DEPENDS base host framework Qt6::Gui)
set_target_properties(desktop_canvas PROPERTIES AUTOMOC OFF AUTORCC OFF)
