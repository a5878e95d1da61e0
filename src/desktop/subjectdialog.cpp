#include "desktop/subjectdialog.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QCompleter>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStringListModel>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

#include "app/basicapp.h"
#include "desktop/silence.h"
#include "exams/examselection.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

QString shown(const std::string& text) { return QString::fromStdString(text); }

bool hasDatabase() { return theApp().db != nullptr; }

}  // namespace

SubjectWindow::SubjectWindow(SubjectDialog& dialog, QWidget* parent) : QDialog(parent), model(dialog) {
  setWindowTitle("Select Subject");
  setModal(true);
  build();
  connectAll();
  descriptionBox->setPlainText(shown(model.description()).remove('\r').trimmed());
  showOffered();
  setIdText(shown(model.id));
  showDetails();
  idBox->setFocus();
  idBox->lineEdit()->selectAll();
}

SubjectWindow::~SubjectWindow() { silenceChildren(*this); }

void SubjectWindow::build() {
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(12);
  layout->addWidget(buildId());
  layout->addWidget(buildDetails(), 1);
  descriptionBox = new QPlainTextEdit;
  descriptionBox->setReadOnly(true);
  descriptionBox->setObjectName("description");
  descriptionBox->setFixedHeight(5 * fontMetrics().lineSpacing() + 8);
  descriptionBox->setTabChangesFocus(true);
  descriptionBox->setLineWrapMode(QPlainTextEdit::NoWrap);
  descriptionBox->setPlaceholderText("No database is open.");
  auto* descriptionLabel = new QLabel("&Database");
  descriptionLabel->setBuddy(descriptionBox);
  auto* database = new QVBoxLayout;
  database->setSpacing(4);
  database->addWidget(descriptionLabel);
  database->addWidget(descriptionBox);
  layout->addLayout(database);
  layout->addWidget(buildButtons());
  // From the id on downwards; the box to read comes last.
  QWidget* const order[] = {idBox,      addButton,   nameEdit,   surnameEdit,  commentEdit,
                            saveButton, startButton, viewButton, cancelButton, descriptionBox};
  for (size_t i = 1; i < std::size(order); ++i) setTabOrder(order[i - 1], order[i]);
  resize(std::max(sizeHint().width(), 520), sizeHint().height() - commentEdit->sizeHint().height() / 2);
}

QWidget* SubjectWindow::buildId() {
  auto* row = new QWidget;
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  idBox = new QComboBox;
  idBox->setEditable(true);
  idBox->setInsertPolicy(QComboBox::NoInsert);
  idBox->setMaxVisibleItems(15);
  idBox->lineEdit()->setMaxLength(SubjectDialog::kLongestId);
  idBox->lineEdit()->setPlaceholderText("Type an id, or choose one that was used lately");
  offered = new QStringListModel(this);
  idBox->setModel(offered);
  completer = new QCompleter(offered, this);
  completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);  // the database did the filtering
  completer->setMaxVisibleItems(15);
  // Not the combo box's own: that one would open its list after each key.
  idBox->setCompleter(nullptr);
  completer->setWidget(idBox->lineEdit());
  idBox->lineEdit()->installEventFilter(this);
  auto* label = new QLabel("&Id");
  label->setBuddy(idBox);
  addButton = new QPushButton("&Add as new ID");
  layout->addWidget(label);
  layout->addWidget(idBox, 1);
  layout->addWidget(addButton);
  return row;
}

QWidget* SubjectWindow::buildDetails() {
  auto* box = new QGroupBox("Details");
  auto* layout = new QFormLayout(box);
  layout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  nameEdit = new QLineEdit;
  surnameEdit = new QLineEdit;
  commentEdit = new QPlainTextEdit;
  commentEdit->setTabChangesFocus(true);
  commentEdit->setMinimumHeight(3 * fontMetrics().lineSpacing() + 12);
  saveButton = new QPushButton("Save / &Update Details");
  layout->addRow("&Name", nameEdit);
  layout->addRow("Su&rname", surnameEdit);
  layout->addRow("&Comment", commentEdit);
  auto* right = new QHBoxLayout;
  right->addStretch();
  right->addWidget(saveButton);
  layout->addRow(right);
  return box;
}

QWidget* SubjectWindow::buildButtons() {
  auto* row = new QWidget;
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  startButton = new QPushButton("&Start New Examination");
  startButton->setDefault(true);
  viewButton = new QPushButton("&View Examinations");
  cancelButton = new QPushButton("Cancel");
  layout->addStretch();
  layout->addWidget(startButton);
  layout->addWidget(viewButton);
  layout->addWidget(cancelButton);
  return row;
}

void SubjectWindow::connectAll() {
  using Result = SubjectDialog::Result;
  connect(idBox->lineEdit(), &QLineEdit::textEdited, this, [this](const QString& t) { idEdited(t); });
  connect(idBox, &QComboBox::textActivated, this, [this](const QString& t) { chooseId(t); });
  connect(completer, qOverload<const QString&>(&QCompleter::activated), this,
          [this](const QString& t) { chooseId(t); });
  // With the list open, keys do not pass the event filter.
  connect(idBox->lineEdit(), &QLineEdit::returnPressed, this, [this] {
    if (completer->popup()->isVisible() && !completer->popup()->currentIndex().isValid()) chooseTyped();
  });
  connect(nameEdit, &QLineEdit::textChanged, this, [this] { updateButtons(); });
  connect(surnameEdit, &QLineEdit::textChanged, this, [this] { updateButtons(); });
  connect(commentEdit, &QPlainTextEdit::textChanged, this, [this] { updateButtons(); });
  connect(addButton, &QPushButton::clicked, this, [this] { addAsNewId(); });
  connect(saveButton, &QPushButton::clicked, this, [this] { saveDetails(); });
  connect(startButton, &QPushButton::clicked, this, [this] { leave(Result::StartNewExamination); });
  connect(viewButton, &QPushButton::clicked, this, [this] { leave(Result::ViewExaminations); });
  connect(cancelButton, &QPushButton::clicked, this, [this] { reject(); });
}

// Enter in the id box chooses the subject; only with one chosen does it press the dialog's button. Leaving
// the box chooses too.
bool SubjectWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched != idBox->lineEdit()) return QDialog::eventFilter(watched, event);
  if (event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && !namesSubject()) {
      completer->popup()->hide();
      if (!chooseTyped() && addButton->isEnabled()) addButton->setFocus();
      return true;
    }
  }
  if (event->type() == QEvent::FocusOut &&
      static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason &&
      static_cast<QFocusEvent*>(event)->reason() != Qt::ActiveWindowFocusReason && isOffered(idText()) &&
      !namesSubject())
    chooseId(idText());
  return QDialog::eventFilter(watched, event);
}

void SubjectWindow::idEdited(const QString& text) {
  const QString before = idBeforeEdit;
  if (!settleDetails()) {
    setIdText(before);
    return;
  }
  model.typeId(text.toStdString());
  showOffered();
  // What was typed stays as it is: the beginning of one subject's id may be another's.
  setIdText(text);
  if (offered->stringList().isEmpty() || offered->stringList() == QStringList(text))
    completer->popup()->hide();
  else
    offer();
  showDetails();
}

// Nothing in the list is chosen before somebody goes there: Enter means what was typed.
void SubjectWindow::offer() {
  completer->complete();
  const QSignalBlocker quiet(completer);
  completer->popup()->setCurrentIndex({});
}

void SubjectWindow::chooseId(const QString& text) {
  if (text.toStdString() == shownId) {
    setIdText(text);
    return;
  }
  if (!settleDetails()) {
    setIdText(idBeforeEdit);
    return;
  }
  model.chooseId(text.toStdString());
  setIdText(text);
  showDetails();
}

bool SubjectWindow::chooseTyped() {
  if (isOffered(idText())) chooseId(idText());
  return namesSubject();
}

// Details typed before the id was added stay in the fields, to be saved.
void SubjectWindow::addAsNewId() {
  const QString typed[] = {nameEdit->text(), surnameEdit->text(), commentEdit->toPlainText()};
  const bool keep = shownId.empty() && detailsChanged();
  if (!keep && !settleDetails()) return;
  model.id = idText().toStdString();
  if (!model.addAsNewId()) return;
  model.typeId(model.id);
  const QString added = shown(model.id);
  model.chooseId(model.id);
  showOffered();
  setIdText(added);
  showDetails();
  if (shownId.empty())
    host().messages.show("The new id could not be written to the database.", Buttons::Ok, Icon::Error);
  if (keep) {
    nameEdit->setText(typed[0]);
    surnameEdit->setText(typed[1]);
    commentEdit->setPlainText(typed[2]);
  }
  nameEdit->setFocus();
}

bool SubjectWindow::saveDetails() {
  model.id = shownId;
  model.name = nameEdit->text().toStdString();
  model.surname = surnameEdit->text().toStdString();
  model.comment = commentEdit->toPlainText().toStdString();
  if (!model.saveDetails()) {
    updateButtons();
    return false;
  }
  nameEdit->setText(shown(model.name));
  surnameEdit->setText(shown(model.surname));
  commentEdit->setPlainText(shown(model.comment));
  noteDetails();
  return true;
}

bool SubjectWindow::settleDetails() {
  if (!detailsChanged()) return true;
  const Answer answer =
      host().messages.show("Save changes to the details?", Buttons::YesNoCancel, Icon::Careful);
  if (answer == Answer::Cancel) return false;
  if (answer == Answer::Yes) {
    if (shownId.empty()) {
      host().messages.show("Add the details' id first: type it and press \"Add as new ID\".", Buttons::Ok,
                           Icon::Warning);
      return false;
    }
    return saveDetails();
  }
  showDetails();  // as they stand in the database
  return true;
}

void SubjectWindow::leave(SubjectDialog::Result how) {
  if (!namesSubject() && !chooseTyped()) return;
  if (!settleDetails()) return;
  outcome = how;
  accept();
}

void SubjectWindow::reject() {
  if (!settleDetails()) return;
  outcome = SubjectDialog::Result::Cancel;
  QDialog::reject();
}

void SubjectWindow::showDetails() {
  const bool known = hasDatabase() && !model.id.empty() && theExams().subjectId() == model.id &&
                     idText().toStdString() == model.id;
  shownId = known ? model.id : std::string();
  if (!known) model.name = model.surname = model.comment = std::string();
  nameEdit->setText(shown(model.name));
  surnameEdit->setText(shown(model.surname));
  commentEdit->setPlainText(shown(model.comment));
  noteDetails();
}

void SubjectWindow::noteDetails() {
  saved = {nameEdit->text(), surnameEdit->text(), commentEdit->toPlainText()};
  updateButtons();
}

void SubjectWindow::showOffered() {
  QStringList all;
  for (const std::string& id : model.offered()) all << shown(id);
  const QString text = idBox->lineEdit()->text();
  const QSignalBlocker quiet(idBox->lineEdit());
  offered->setStringList(all);
  idBox->setCurrentIndex(-1);
  idBox->setEditText(text);
}

void SubjectWindow::setIdText(const QString& text) {
  const QSignalBlocker quiet(idBox->lineEdit());
  const int cursor = idBox->lineEdit()->cursorPosition();
  const bool same = idBox->lineEdit()->text() == text;
  idBox->setEditText(text);
  if (same) idBox->lineEdit()->setCursorPosition(cursor);
  idBeforeEdit = text;
}

void SubjectWindow::updateButtons() {
  const bool writable = hasDatabase();
  for (QWidget* field : {static_cast<QWidget*>(nameEdit), static_cast<QWidget*>(surnameEdit),
                         static_cast<QWidget*>(commentEdit)})
    field->setEnabled(writable);
  const bool subject = namesSubject() || isOffered(idText());
  addButton->setEnabled(writable && !idText().isEmpty() && !subject &&
                        !isOffered(idText().replace(' ', '_')));
  saveButton->setEnabled(writable && !shownId.empty() && detailsChanged());
  startButton->setEnabled(writable && subject);
  // Enter in a field saves what was changed there, and otherwise goes on.
  (saveButton->isEnabled() ? saveButton : startButton)->setDefault(true);
  viewButton->setEnabled(writable && subject);
}

// Blanks at the ends are none of an id's, but where another program gave it some.
QString SubjectWindow::idText() const {
  const QString typed = idBox->lineEdit()->text();
  return isOffered(typed) ? typed : typed.trimmed();
}

bool SubjectWindow::detailsChanged() const {
  return saved != std::array{nameEdit->text(), surnameEdit->text(), commentEdit->toPlainText()};
}

bool SubjectWindow::isOffered(const QString& text) const {
  return !text.isEmpty() && offered->stringList().contains(text);
}

bool SubjectWindow::namesSubject() const { return !shownId.empty() && idText().toStdString() == shownId; }

SubjectDialog::Result SubjectFace::run(SubjectDialog& dialog) {
  SubjectWindow window(dialog, parent);
  window.exec();
  return window.result();
}

}  // namespace tarnvisor
