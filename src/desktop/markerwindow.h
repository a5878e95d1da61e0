// The face of the window "Edit Marker": stays open beside the charts, and shows the marker that was opened
// last.
#pragma once

#include <QPointer>

#include "charts/markereditor.h"
#include "desktop/formdialog.h"

namespace tarnvisor {

class MarkerFace final {
 public:
  explicit MarkerFace(QWidget* parentWindow);
  ~MarkerFace();
  MarkerFace(const MarkerFace&) = delete;
  MarkerFace& operator=(const MarkerFace&) = delete;
  FormDialog* window() const { return dialog; }  // null while no marker is shown

 private:
  void follow();
  void updated();
  void drop();
  QWidget* parent;  // borrowed
  QPointer<FormDialog> dialog;
  QPoint place;
  bool hasPlace = false;
};

}  // namespace tarnvisor
