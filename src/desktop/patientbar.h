// The strip under the menus that names the patient, always there.
#pragma once

#include <QLabel>
#include <QToolBar>
#include <functional>

#include "frame/patientstrip.h"

namespace tarnvisor {

class PatientBar final : public QToolBar {
 public:
  explicit PatientBar(QWidget* parent);
  // foreign: to whom the document in front belongs, where that is not the selected exam.
  void show(const PatientStrip& strip, const QString& foreign);
  std::function<void(int32_t)> onCommand;  // that mends what the caution tells

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QLabel* place;
  QLabel* subject;
  QLabel* exam;
  QLabel* holdings;
  QLabel* document;
  QLabel* caution;
  int32_t mends = 0;
};

}  // namespace tarnvisor
