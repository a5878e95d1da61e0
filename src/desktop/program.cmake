# The main window and the program.
core_library(desktop_windows desktop
  HEADERS afterdialogs.h commandactions.h documentwindows.h mainwindow.h opening.h qthost.h qtports.h
          qtprinter.h statuspanes.h timelinebar.h viewwidget.h
  SOURCES commandactions.cpp documentwindows.cpp mainwindow.cpp opening.cpp
          qthost.cpp qtports.cpp qtprinter.cpp statuspanes.cpp timelinebar.cpp viewwidget.cpp
  DEPENDS base host settings framework app frame desktop_canvas desktop_dialogs Qt6::Widgets Qt6::PrintSupport)

add_executable(tarnvisor main.cpp)
target_link_libraries(tarnvisor PRIVATE desktop_windows assembly)
set_target_properties(desktop_windows tarnvisor PROPERTIES AUTOMOC OFF AUTORCC OFF)

add_executable(tarnvisor-pictures EXCLUDE_FROM_ALL pictures.cpp)
target_link_libraries(tarnvisor-pictures PRIVATE desktop_windows assembly Qt6::Test)
# A movie has slots of its own.
target_compile_definitions(tarnvisor-pictures PRIVATE QT_NO_KEYWORDS)
set_target_properties(tarnvisor-pictures PROPERTIES AUTOMOC OFF AUTORCC OFF)
