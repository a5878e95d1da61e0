// The strip under the menus that names the patient, always there.
#pragma once

#include <QLabel>
#include <QToolBar>
#include <functional>

#include "frame/patientstrip.h"

namespace tarnvisor {

class CautionLabel;

class PatientBar final : public QToolBar {
 public:
  explicit PatientBar(QWidget* parent);
  // foreign: to whom the document in front belongs, where that is not the selected exam.
  void show(const PatientStrip& strip, const QString& foreign);
  std::function<void(int32_t)> onCommand;  // that mends what the caution tells

 private:
  QLabel* place;
  QLabel* subject;
  QLabel* exam;
  QLabel* holdings;
  QLabel* document;
  CautionLabel* caution;
};

}  // namespace tarnvisor
