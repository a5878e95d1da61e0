# Drawing with Qt; the script runner uses it too.
core_library(desktop_canvas desktop
  HEADERS paintercanvas.h picturefile.h qttext.h
  SOURCES paintercanvas.cpp picturefile.cpp qttext.cpp
  DEPENDS base host framework Qt6::Gui
  PRIVATE Qt6::Svg)
set_target_properties(desktop_canvas PROPERTIES AUTOMOC OFF AUTORCC OFF)
