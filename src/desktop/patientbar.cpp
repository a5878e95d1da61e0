#include "desktop/patientbar.h"

#include <QHBoxLayout>

#include "desktop/caution.h"
#include "desktop/qttext.h"

namespace tarnvisor {

namespace {

void show(QLabel& label, const QString& text) {
  if (label.text() != text) label.setText(text);
  label.setVisible(!text.isEmpty());
}

}  // namespace

PatientBar::PatientBar(QWidget* parent)
    : QToolBar("Patient", parent),
      place(new QLabel),
      subject(new QLabel),
      exam(new QLabel),
      holdings(new QLabel),
      document(new QLabel),
      caution(new CautionLabel) {
  setObjectName("patientBar");
  setMovable(false);
  auto* strip = new QWidget;
  auto* layout = new QHBoxLayout(strip);
  layout->setContentsMargins(8, 3, 8, 3);
  layout->setSpacing(18);
  QFont bold = subject->font();
  bold.setBold(true);
  subject->setFont(bold);
  for (QLabel* label : {place, subject, exam, holdings, document, static_cast<QLabel*>(caution)}) {
    label->setTextFormat(Qt::PlainText);
    layout->addWidget(label);
    if (label == holdings) layout->addStretch(1);
  }
  subject->setObjectName("patient");
  exam->setObjectName("exam");
  holdings->setObjectName("holdings");
  document->setObjectName("document");
  caution->setObjectName("caution");
  caution->onCommand = [this](int32_t id) {
    if (onCommand) onCommand(id);
  };
  place->setObjectName("place");
  addWidget(strip);
}

void PatientBar::show(const PatientStrip& strip, const QString& foreign) {
  tarnvisor::show(*place, toQt(strip.place));
  markCaution(*place, true);
  tarnvisor::show(*subject, toQt(strip.subject));
  tarnvisor::show(*exam, toQt(strip.exam));
  markCaution(*exam, !strip.hasExam);
  tarnvisor::show(*holdings, toQt(strip.holdings));
  tarnvisor::show(*document,
                  foreign.isEmpty() ? toQt(strip.document) : toQt(strip.document) + ", of " + foreign);
  markCaution(*document, !foreign.isEmpty());
  tarnvisor::show(*caution, toQt(strip.caution));
  caution->tell(true, strip.mends);
}

}  // namespace tarnvisor
