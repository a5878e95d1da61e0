# The faces of what is more than fields, and the icons.
core_library(desktop_dialogs desktop
  HEADERS dialogs.h examlistwindow.h formdialog.h icons.h magnificationwindow.h markerwindow.h profiledialog.h recordbar.h shortcutlist.h
          silence.h statuswindow.h subjectdialog.h
  SOURCES dialogs.cpp examlistwindow.cpp formdialog.cpp icons.cpp magnificationwindow.cpp markerwindow.cpp profiledialog.cpp recordbar.cpp
          shortcutlist.cpp statuswindow.cpp subjectdialog.cpp icons/icons.qrc
  DEPENDS base host settings framework app frame dbdocument imagedoc measure desktop_canvas Qt6::Widgets
  PRIVATE Qt6::Svg)
