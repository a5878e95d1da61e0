// The strip under the menus that names the patient, always there.
#pragma once

#include <QLabel>
#include <QToolBar>

#include "frame/patientstrip.h"

namespace tarnvisor {

class PatientBar final : public QToolBar {
 public:
  explicit PatientBar(QWidget* parent);
  // foreign: to whom the document in front belongs, where that is not the selected exam.
  void show(const PatientStrip& strip, const QString& foreign);

 private:
  QLabel* subject;
  QLabel* exam;
  QLabel* holdings;
  QLabel* document;
  QLabel* caution;
};

}  // namespace tarnvisor
