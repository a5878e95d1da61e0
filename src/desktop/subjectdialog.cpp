#include "desktop/subjectdialog.h"

#include <QAbstractTableModel>
#include <QComboBox>
#include <QCompleter>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStringListModel>
#include <QTreeView>
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

// The list of all subjects, as the view asks for it: only what is seen is made into texts.
class DirectoryModel final : public QAbstractTableModel {
 public:
  DirectoryModel(SubjectDirectory& shown, QObject* parent) : QAbstractTableModel(parent), directory(shown) {}
  int rowCount(const QModelIndex& above = {}) const override {
    return above.isValid() ? 0 : static_cast<int>(directory.count());
  }
  int columnCount(const QModelIndex& = {}) const override {
    return static_cast<int>(SubjectDirectory::columns().size());
  }
  QVariant data(const QModelIndex& at, int role) const override {
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    return shown(directory.cell(static_cast<size_t>(at.row()), static_cast<size_t>(at.column())));
  }
  QVariant headerData(int section, Qt::Orientation along, int role) const override {
    if (along != Qt::Horizontal || role != Qt::DisplayRole) return {};
    return shown(SubjectDirectory::columns()[static_cast<size_t>(section)]);
  }
  void sort(int column, Qt::SortOrder order) override {
    if (column < 0) return;
    change([&] { directory.sort(static_cast<size_t>(column), order == Qt::DescendingOrder); });
  }
  void change(const std::function<void()>& how) {
    beginResetModel();
    how();
    endResetModel();
  }

 private:
  SubjectDirectory& directory;
};

SubjectWindow::SubjectWindow(SubjectDialog& dialog, QWidget* parent) : QDialog(parent), model(dialog) {
  setWindowTitle("Select Subject");
  setModal(true);
  build();
  connectAll();
  descriptionBox->setPlainText(shown(model.description()).remove('\r').trimmed());
  showOffered();
  setIdText(shown(model.id));
  readDirectory();
  showDetails();
  idBox->setFocus();
  idBox->lineEdit()->selectAll();
}

SubjectWindow::~SubjectWindow() { silenceChildren(*this); }

void SubjectWindow::build() {
  auto* sides = new QHBoxLayout(this);
  sides->setSpacing(16);
  auto* layout = new QVBoxLayout;
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
  sides->addWidget(buildDirectory(), 1);
  sides->addLayout(layout);
  // From the id on downwards; the boxes to read and to search come last.
  QWidget* const order[] = {idBox,        addButton,      nameEdit,   surnameEdit, bornEdit,
                            sexBox,       commentEdit,    saveButton, startButton, viewButton,
                            cancelButton, descriptionBox, searchEdit, list};
  for (size_t i = 1; i < std::size(order); ++i) setTabOrder(order[i - 1], order[i]);
  resize(std::max(sizeHint().width(), 1100), sizeHint().height() - commentEdit->sizeHint().height() / 2);
}

QWidget* SubjectWindow::buildDirectory() {
  auto* box = new QGroupBox("All subjects");
  auto* layout = new QVBoxLayout(box);
  searchEdit = new QLineEdit;
  searchEdit->setObjectName("search");
  searchEdit->setPlaceholderText("Id, surname, first name or date of birth");
  searchEdit->setClearButtonEnabled(true);
  searchEdit->installEventFilter(this);
  auto* label = new QLabel("S&earch");
  label->setBuddy(searchEdit);
  countLabel = new QLabel;
  auto* row = new QHBoxLayout;
  row->addWidget(label);
  row->addWidget(searchEdit, 1);
  row->addWidget(countLabel);
  listed = new DirectoryModel(model.directory, this);
  list = new QTreeView;
  list->setObjectName("subjects");
  list->setAccessibleName("All subjects");
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setAlternatingRowColors(true);
  list->setAllColumnsShowFocus(true);
  list->setModel(listed);
  list->installEventFilter(this);
  list->header()->setSortIndicator(-1, Qt::AscendingOrder);  // at first by use
  list->setSortingEnabled(true);
  const int widths[] = {12, 16, 14, 12, 9, 12};
  for (int i = 0; i < listed->columnCount(); ++i)
    list->setColumnWidth(i, widths[i] * fontMetrics().horizontalAdvance('0'));
  layout->addLayout(row);
  layout->addWidget(list, 1);
  return box;
}

QWidget* SubjectWindow::buildId() {
  auto* row = new QWidget;
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  idBox = new QComboBox;
  idBox->setObjectName("id");
  idBox->setEditable(true);
  idBox->setInsertPolicy(QComboBox::NoInsert);
  idBox->setMaxVisibleItems(15);
  idBox->lineEdit()->setMaxLength(SubjectDialog::kLongestId);
  idBox->lineEdit()->setPlaceholderText("Type or choose an id");
  offered = new QStringListModel(this);
  idBox->setModel(offered);
  completer = new QCompleter(offered, this);
  completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);  // the database did the filtering
  completer->setMaxVisibleItems(15);
  // Not the combo box's own: that one would open its list after each key.
  idBox->setCompleter(nullptr);
  completer->setWidget(idBox->lineEdit());
  // The box has the focus, and hands keys on to its field past any filter.
  idBox->installEventFilter(this);
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
  nameEdit->setObjectName("name");
  surnameEdit = new QLineEdit;
  surnameEdit->setObjectName("surname");
  bornEdit = new QLineEdit;
  bornEdit->setObjectName("born");
  bornEdit->setPlaceholderText("1970-02-03 or 3.2.1970");
  sexBox = new QComboBox;
  sexBox->setObjectName("sex");
  for (const std::string& sex : sexes()) sexBox->addItem(shown(sexInWords(sex)), shown(sex));
  commentEdit = new QPlainTextEdit;
  commentEdit->setTabChangesFocus(true);
  commentEdit->setMinimumHeight(3 * fontMetrics().lineSpacing() + 12);
  saveButton = new QPushButton("Save / &Update Details");
  layout->addRow("First &name", nameEdit);
  layout->addRow("Su&rname", surnameEdit);
  layout->addRow("Date of &birth", bornEdit);
  layout->addRow("Se&x", sexBox);
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
  connect(bornEdit, &QLineEdit::textChanged, this, [this] { updateButtons(); });
  connect(sexBox, &QComboBox::currentIndexChanged, this, [this] { updateButtons(); });
  connect(commentEdit, &QPlainTextEdit::textChanged, this, [this] { updateButtons(); });
  connect(searchEdit, &QLineEdit::textChanged, this, [this](const QString& t) {
    listed->change([&] { model.directory.filter(t.toStdString()); });
    showRow();
  });
  connect(list, &QTreeView::clicked, this, [this](const QModelIndex& at) { chooseRow(at.row()); });
  connect(addButton, &QPushButton::clicked, this, [this] { addAsNewId(); });
  connect(saveButton, &QPushButton::clicked, this, [this] { saveDetails(); });
  connect(startButton, &QPushButton::clicked, this, [this] { leave(Result::StartNewExamination); });
  connect(viewButton, &QPushButton::clicked, this, [this] { leave(Result::ViewExaminations); });
  connect(cancelButton, &QPushButton::clicked, this, [this] { cancel(); });
}

// Enter in the id box chooses the subject of that id, or adds it; only with one chosen does it press the
// dialog's button. Leaving the box chooses too.
bool SubjectWindow::eventFilter(QObject* watched, QEvent* event) {
  // In the list Enter chooses, and begins nothing.
  if (watched == list && event->type() == QEvent::KeyPress && list->currentIndex().isValid()) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Return && key != Qt::Key_Enter) return QDialog::eventFilter(watched, event);
    chooseRow(list->currentIndex().row());
    return true;
  }
  if (watched == searchEdit && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    const bool isEnter = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (!isEnter && key != Qt::Key_Down) return QDialog::eventFilter(watched, event);
    // Of several the user chooses.
    if (isEnter && model.directory.count() == 1) {
      chooseRow(0);
    } else if (model.directory.count() > 0) {
      if (!list->currentIndex().isValid()) list->setCurrentIndex(listed->index(0, 0));
      list->setFocus();
    }
    return true;
  }
  if (watched != idBox && watched != idBox->lineEdit()) return QDialog::eventFilter(watched, event);
  if (event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && !namesSubject()) {
      completer->popup()->hide();
      if (!chooseTyped() && addButton->isEnabled()) addAsNewId();
      return true;
    }
  }
  if (event->type() == QEvent::FocusOut &&
      static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason &&
      static_cast<QFocusEvent*>(event)->reason() != Qt::ActiveWindowFocusReason && isKnown(idText()) &&
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

void SubjectWindow::chooseRow(int row) {
  chooseId(shown(model.directory.id(static_cast<size_t>(row))));
  showRow();
}

void SubjectWindow::readDirectory() {
  listed->change([this] { model.directory.read(); });
  showRow();
}

void SubjectWindow::showRow() {
  const int row = shownId.empty() ? -1 : model.directory.find(shownId);
  list->setCurrentIndex(row < 0 ? QModelIndex() : listed->index(row, 0));
  const size_t all = model.directory.countOfAll(), found = model.directory.count();
  countLabel->setText(found == all ? QString("%1 in all").arg(all) : QString("%1 of %2").arg(found).arg(all));
}

bool SubjectWindow::chooseTyped() {
  if (isKnown(idText())) chooseId(idText());
  return namesSubject();
}

// Details typed before the id was added stay in the fields, to be saved.
void SubjectWindow::addAsNewId() {
  const Fields typed = fields();
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
  readDirectory();
  if (shownId.empty())
    host().messages.show("The new id could not be written to the database.", Buttons::Ok, Icon::Error);
  newId = shownId;
  if (keep) setFields(typed);
  nameEdit->setFocus();
}

bool SubjectWindow::saveDetails() {
  model.id = shownId;
  const Fields now = fields();
  model.name = now[0].toStdString();
  model.surname = now[1].toStdString();
  model.comment = now[2].toStdString();
  model.born = now[3].toStdString();
  model.sex = now[4].toStdString();
  if (!model.saveDetails()) {
    updateButtons();
    return false;
  }
  showModel();
  readDirectory();
  return true;
}

bool SubjectWindow::settleDetails() {
  if (!detailsChanged()) return true;
  const Answer answer =
      host().messages.show("Save changes to the details" + (shownId.empty() ? "" : " of " + shownId) + "?",
                           Buttons::YesNoCancel, Icon::Careful);
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
  // Of a subject that was added here and now nothing else is known that could be lost.
  const bool isNew = !newId.empty() && shownId == newId;
  if (isNew && detailsChanged() ? !saveDetails() : !settleDetails()) return;
  outcome = how;
  accept();
}

void SubjectWindow::reject() {
  if (!settleDetails()) return;
  outcome = SubjectDialog::Result::Nothing;
  QDialog::reject();
}

void SubjectWindow::cancel() {
  if (!settleDetails() || !model.mayCancel()) return;
  outcome = SubjectDialog::Result::Cancel;
  QDialog::reject();
}

void SubjectWindow::showDetails() {
  const bool known = hasDatabase() && !model.id.empty() && theExams().subjectId() == model.id &&
                     idText().toStdString() == model.id;
  shownId = known ? model.id : std::string();
  if (!known) model.name = model.surname = model.comment = model.born = model.sex = std::string();
  showModel();
  showRow();
}

void SubjectWindow::showModel() {
  setFields(
      {shown(model.name), shown(model.surname), shown(model.comment), shown(model.born), shown(model.sex)});
  saved = fields();
  updateButtons();
}

SubjectWindow::Fields SubjectWindow::fields() const {
  return {nameEdit->text(), surnameEdit->text(), commentEdit->toPlainText(), bornEdit->text(),
          sexBox->currentData().toString()};
}

// What another program calls a sex is kept.
void SubjectWindow::setFields(const Fields& texts) {
  nameEdit->setText(texts[0]);
  surnameEdit->setText(texts[1]);
  commentEdit->setPlainText(texts[2]);
  bornEdit->setText(texts[3]);
  if (sexBox->findData(texts[4]) < 0) sexBox->addItem(texts[4], texts[4]);
  sexBox->setCurrentIndex(sexBox->findData(texts[4]));
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
  for (QWidget* field :
       std::initializer_list<QWidget*>{nameEdit, surnameEdit, bornEdit, sexBox, commentEdit, searchEdit})
    field->setEnabled(writable);
  const bool subject = namesSubject() || isKnown(idText());
  addButton->setEnabled(writable && !idText().isEmpty() && !subject && !isKnown(idText().replace(' ', '_')));
  saveButton->setEnabled(writable && !shownId.empty() && detailsChanged());
  startButton->setEnabled(writable && subject);
  startButton->setToolTip(subject ? "" : "Choose a subject, or add the id as a new one first.");
  // Enter in a field saves what was changed there, and otherwise goes on.
  (saveButton->isEnabled() ? saveButton : startButton)->setDefault(true);
  viewButton->setEnabled(writable && subject);
}

// Blanks at the ends are none of an id's, but where another program gave it some.
QString SubjectWindow::idText() const {
  const QString typed = idBox->lineEdit()->text();
  return isKnown(typed) ? typed : typed.trimmed();
}

bool SubjectWindow::detailsChanged() const { return saved != fields(); }

bool SubjectWindow::isKnown(const QString& text) const { return model.knows(text.toStdString()); }

bool SubjectWindow::namesSubject() const { return !shownId.empty() && idText().toStdString() == shownId; }

SubjectDialog::Result SubjectFace::run(SubjectDialog& dialog) {
  SubjectWindow window(dialog, parent);
  window.exec();
  return window.result();
}

}  // namespace tarnvisor
