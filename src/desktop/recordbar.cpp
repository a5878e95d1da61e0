#include "desktop/recordbar.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QToolButton>

#include "app/basicapp.h"
#include "desktop/icons.h"
#include "desktop/silence.h"
#include "frame/commandids.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

// A label that stands close to its control, for the bar's wide spacing is between groups.
QWidget* labelled(const char* words, std::initializer_list<QWidget*> controls) {
  auto* group = new QWidget;
  auto* layout = new QHBoxLayout(group);
  layout->setContentsMargins(6, 0, 6, 0);
  auto* label = new QLabel(words);
  label->setBuddy(*controls.begin());
  layout->addWidget(label);
  for (QWidget* control : controls) layout->addWidget(control);
  group->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
  return group;
}

}  // namespace

RecordBar::RecordBar(CBasicMainFrame& mainFrame, QWidget* parent)
    : QToolBar("Record bar", parent),
      frame(mainFrame),
      recordDir(new QLineEdit),
      baseName(new QLineEdit),
      directToDisc(new QCheckBox("Direct to disc")),
      triggerMovie(new QRadioButton("Sequence")),
      triggerImage(new QRadioButton("Image")) {
  setObjectName("recordBar");
  recordDir->setObjectName("recorddir");
  recordDir->setFixedWidth(fontMetrics().averageCharWidth() * 40);
  recordDir->setToolTip("Folder that recordings are saved in");
  baseName->setObjectName("basename");
  baseName->setFixedWidth(fontMetrics().averageCharWidth() * 16);
  baseName->setToolTip("What the names of recordings begin with");
  directToDisc->setToolTip("Write a sequence to disc while it is recorded");
  triggerMovie->setToolTip("A trigger records a sequence");
  triggerImage->setToolTip("A trigger saves an image");
  auto* choose = new QToolButton;
  choose->setIcon(commandIcon("open", palette()));
  choose->setText("...");
  choose->setAutoRaise(true);
  choose->setObjectName("choose");
  choose->setToolTip("Select Recording folder");
  choose->setAccessibleName("Select Recording folder");
  connect(choose, &QToolButton::clicked, this, [] { theApp().postMainCommand(cmd::RecordFolder); });
  addWidget(labelled("Recording folder", {recordDir, choose}));
  addWidget(labelled("Base name", {baseName}));
  addSeparator();
  addWidget(directToDisc);
  addSeparator();
  addWidget(labelled("Trigger", {triggerMovie, triggerImage}));
  connectAll();
  showState();
}

RecordBar::~RecordBar() {
  frame.onReadRecordBar = nullptr;
  silenceChildren(*this);
}

void RecordBar::connectAll() {
  // A recording may begin by its shortcut while a text is still being edited: it reads the bar first.
  frame.onReadRecordBar = [this] { return values(); };
  for (QLineEdit* edit : {recordDir, baseName})
    connect(edit, &QLineEdit::editingFinished, this, [this, edit] {
      if (edit->isModified()) storeState();
      edit->setModified(false);
    });
  connect(directToDisc, &QCheckBox::clicked, this, [this] { storeState(); });
  connect(triggerMovie, &QRadioButton::clicked, this, [this] { storeState(); });
  connect(triggerImage, &QRadioButton::clicked, this, [this] { storeState(); });
}

void RecordBar::showState() {
  const auto show = [](QLineEdit* edit, const std::string& text) {
    if (edit->text().toStdString() == text) return;  // the cursor stays
    edit->setText(QString::fromStdString(text));
    edit->setCursorPosition(0);
  };
  show(recordDir, process.recordDir);
  show(baseName, process.baseName);
  directToDisc->setChecked(process.direct2disc != 0);
  triggerMovie->setChecked(process.triggermovie != 0);
  triggerImage->setChecked(process.triggermovie == 0);
}

RecordBarValues RecordBar::values() const {
  return {recordDir->text().toStdString(), baseName->text().toStdString(), directToDisc->isChecked(),
          triggerMovie->isChecked()};
}

void RecordBar::storeState() { frame.takeRecordBar(values()); }

}  // namespace tarnvisor
