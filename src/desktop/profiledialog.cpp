#include "desktop/profiledialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "desktop/silence.h"
#include "frame/profileselection.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

QLabel* paragraph(const char* words) {
  auto* label = new QLabel(words);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  return label;
}

class FolderProfiles final : public ProfileModel {
 public:
  explicit FolderProfiles(ProfileDialog& borrowed) : dialog(borrowed) {}
  std::vector<std::string> names() const override { return dialog.names(); }
  std::string selected() const override { return dialog.selected(); }
  void select(const std::string& profile) override { dialog.select(profile); }
  Outcome addCopy(const std::string& newName) override { return addProfileCopy(dialog, newName); }
  Outcome remove() override { return removeProfile(dialog); }
  Outcome resetToDefault() override { return resetProfile(dialog); }

 private:
  ProfileDialog& dialog;
};

}  // namespace

bool ProfileTableFace::run(ProfileDialog& dialog) {
  FolderProfiles profiles(dialog);
  return ProfileWindow(profiles, parent).exec() == QDialog::Accepted;
}

ProfileWindow::ProfileWindow(ProfileModel& profiles, QWidget* parent) : QDialog(parent), model(profiles) {
  setWindowTitle(ProfileDialog::kTitle);
  build();
  showNames();
  connect(list, &QListWidget::currentTextChanged, this, [this](const QString& name) {
    model.select(name.toStdString());
    removeButton->setEnabled(name != ProfileDialog::kNormal);
  });
  connect(list, &QListWidget::itemDoubleClicked, this, [this] { accept(); });
  connect(addButton, &QPushButton::clicked, this, [this] { addCopy(); });
  connect(removeButton, &QPushButton::clicked, this, [this] { remove(); });
  connect(resetButton, &QPushButton::clicked, this, [this] { reset(); });
  list->setFocus();
}

ProfileWindow::~ProfileWindow() { silenceChildren(*this); }

void ProfileWindow::build() {
  list = new QListWidget;
  list->setAlternatingRowColors(true);
  list->setMinimumHeight(fontMetrics().lineSpacing() * 8);
  addButton = new QPushButton("&Add copy");
  removeButton = new QPushButton("&remove");
  resetButton = new QPushButton("reset to &default");
  auto* side = new QVBoxLayout;
  for (QPushButton* button : {addButton, removeButton, resetButton}) {
    button->setAutoDefault(false);
    side->addWidget(button);
  }
  side->addStretch();
  auto* middle = new QHBoxLayout;
  middle->addWidget(list, 1);
  middle->addLayout(side);
  auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  box->button(QDialogButtonBox::Ok)->setDefault(true);
  connect(box, &QDialogButtonBox::accepted, this, [this] { accept(); });
  connect(box, &QDialogButtonBox::rejected, this, [this] { reject(); });
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(12);
  layout->addWidget(paragraph(ProfileDialog::kWhat));
  layout->addLayout(middle, 1);
  layout->addWidget(paragraph(ProfileDialog::kNames));
  layout->addWidget(box);
  resize(fontMetrics().averageCharWidth() * 80, sizeHint().height());
}

void ProfileWindow::showNames() {
  const QSignalBlocker quiet(list);
  list->clear();
  const std::string chosen = model.selected();
  for (const std::string& name : model.names()) {
    list->addItem(QString::fromStdString(name));
    if (name == chosen) list->setCurrentRow(list->count() - 1);
  }
  removeButton->setEnabled(chosen != ProfileDialog::kNormal);
}

void ProfileWindow::report(const Outcome& outcome) {
  if (!outcome) host().messages.show(outcome.why(), Buttons::Ok, Icon::Error);
  showNames();
}

void ProfileWindow::addCopy() {
  std::string name;
  Form form(ProfileDialog::kTitle);
  form.add(ProfileDialog::kNewName, name);
  if (host().forms.run(form)) report(model.addCopy(name));
}

void ProfileWindow::remove() {
  if (host().messages.show("Remove the profile \"" + model.selected() + "\"?", Buttons::YesNo,
                           Icon::Question) == Answer::Yes)
    report(model.remove());
}

void ProfileWindow::reset() {
  if (host().messages.show("Reset the profile \"" + model.selected() + "\" to default?", Buttons::YesNo,
                           Icon::Question) == Answer::Yes)
    report(model.resetToDefault());
}

}  // namespace tarnvisor
