#include "desktop/magnificationwindow.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "desktop/silence.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr double kLowest = 1e-9;
constexpr double kHighest = 1e9;

// Empty for a scale that can be, which value then takes; otherwise the words to show.
QString readScale(const QString& text, double& value) {
  bool isNumber = false;
  const double number = QLocale::c().toDouble(text.trimmed(), &isNumber);
  if (!isNumber) return "A scale is a number.";
  if (!(number >= kLowest)) return "A scale must be above 0.";
  if (!(number <= kHighest)) return "A scale is at most 1e9.";
  value = number;
  return {};
}

QString numberText(double value) { return QString::number(value, 'g', QLocale::FloatingPointShortest); }

QLabel* rowLabel() {
  auto* label = new QLabel;
  label->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  label->setTextFormat(Qt::PlainText);
  return label;
}

}  // namespace

MagnificationWindow::MagnificationWindow(MagnificationDialog& dialog, QWidget* parent)
    : QDialog(parent), model(dialog) {
  setWindowTitle("Magnification");
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(12);
  layout->addWidget(buildFields());
  layout->addWidget(buildTable(), 1);
  layout->addWidget(buildButtons());
  showEntry();
  showRows(-1);
  for (QLineEdit* edit : {x.edit, y.edit})
    connect(edit, &QLineEdit::textChanged, this, [this] { updateButtons(); });
  connect(name, &QLineEdit::textChanged, this, [this] { updateButtons(); });
  connect(rows, &QListWidget::itemSelectionChanged, this, [this] { updateButtons(); });
  connect(rows, &QListWidget::itemDoubleClicked, this, [this] { select(); });
  connect(addButton, &QPushButton::clicked, this, [this] { addToList(); });
  connect(selectButton, &QPushButton::clicked, this, [this] { select(); });
  connect(removeButton, &QPushButton::clicked, this, [this] { remove(); });
  connect(defaultButton, &QPushButton::clicked, this, [this] { setAsDefault(); });
  x.edit->setFocus();
  x.edit->selectAll();
}

MagnificationWindow::~MagnificationWindow() { silenceChildren(*this); }

MagnificationWindow::Scale MagnificationWindow::makeScale(const char* objectName) {
  Scale scale{new QLineEdit, new QLabel};
  scale.edit->setObjectName(objectName);
  scale.edit->setFixedWidth(fontMetrics().averageCharWidth() * 18);
  scale.wrong->setObjectName(QString(objectName) + " wrong");
  // As much room as the longest words take, so that the window does not jump.
  scale.wrong->setMinimumWidth(fontMetrics().horizontalAdvance("A scale must be above 0. "));
  QPalette red = scale.wrong->palette();
  const bool dark = red.color(QPalette::Window).lightness() < 128;
  red.setColor(QPalette::WindowText, dark ? QColor(255, 130, 120) : QColor(190, 30, 20));
  scale.wrong->setPalette(red);
  return scale;
}

QWidget* MagnificationWindow::buildFields() {
  auto* fields = new QWidget;
  auto* grid = new QGridLayout(fields);
  grid->setContentsMargins(0, 0, 0, 0);
  x = makeScale("x scale");
  y = makeScale("y scale");
  name = new QLineEdit;
  name->setObjectName("name");
  const auto addScale = [&](int row, const char* words, const Scale& scale) {
    auto* label = new QLabel(words);
    label->setBuddy(scale.edit);
    auto* unit = new QLabel(QString::fromStdString(model.unitText()));
    unit->setTextFormat(Qt::PlainText);
    grid->addWidget(label, row, 0);
    grid->addWidget(scale.edit, row, 1);
    grid->addWidget(unit, row, 2);
    grid->addWidget(scale.wrong, row, 3);
  };
  addScale(0, "&x scale", x);
  addScale(1, "&y scale", y);
  auto* nameLabel = new QLabel("&name");
  nameLabel->setBuddy(name);
  grid->addWidget(nameLabel, 2, 0);
  grid->addWidget(name, 2, 1, 1, 3);
  grid->setColumnStretch(3, 1);
  return fields;
}

QWidget* MagnificationWindow::buildTable() {
  auto* box = new QWidget;
  auto* grid = new QGridLayout(box);
  grid->setContentsMargins(0, 0, 0, 0);
  rows = new QListWidget;
  rows->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  rows->setUniformItemSizes(true);
  rows->setAlternatingRowColors(true);
  const QFontMetrics fixed(rows->font());
  rows->setMinimumSize(fixed.horizontalAdvance('0') * 86, fixed.lineSpacing() * 8);
  addButton = new QPushButton("&Add to list");
  selectButton = new QPushButton("&Select");
  removeButton = new QPushButton("&Remove");
  defaultButton = new QPushButton("Set as &default");
  auto* buttons = new QVBoxLayout;
  for (QPushButton* button : {addButton, selectButton, removeButton, defaultButton}) {
    button->setAutoDefault(false);
    buttons->addWidget(button);
  }
  buttons->addStretch();
  defaultLine = rowLabel();
  defaultLine->setObjectName("default");
  defaultLine->setTextInteractionFlags(Qt::TextSelectableByMouse);
  grid->addWidget(rows, 0, 0);
  grid->addLayout(buttons, 0, 1);
  grid->addWidget(new QLabel("Current default settings:"), 1, 0, 1, 2);
  grid->addWidget(defaultLine, 2, 0, 1, 2);
  grid->setRowStretch(0, 1);
  return box;
}

QWidget* MagnificationWindow::buildButtons() {
  auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  okButton = box->button(QDialogButtonBox::Ok);
  okButton->setDefault(true);
  connect(box, &QDialogButtonBox::accepted, this, [this] { accept(); });
  connect(box, &QDialogButtonBox::rejected, this, [this] { reject(); });
  return box;
}

void MagnificationWindow::showEntry() {
  x.edit->setText(numberText(model.entry.magx));
  y.edit->setText(numberText(model.entry.magy));
  name->setText(QString::fromStdString(model.entry.magname));
}

void MagnificationWindow::showRows(int row) {
  rows->clear();
  for (const std::string& line : model.rows()) rows->addItem(QString::fromStdString(line));
  if (rows->count() > 0 && row >= 0) rows->setCurrentRow(std::min(row, rows->count() - 1));
  defaultLine->setText(QString::fromStdString(model.defaultLine()));
  updateButtons();
}

bool MagnificationWindow::check() {
  double values[2] = {};
  const Scale scales[2] = {x, y};
  bool right = true;
  for (int i = 0; i < 2; ++i) {
    const QString wrong = readScale(scales[i].edit->text(), values[i]);
    scales[i].wrong->setText(wrong);
    right = right && wrong.isEmpty();
  }
  if (!right) return false;
  // What was not touched keeps all its digits.
  if (x.edit->text() != numberText(model.entry.magx)) model.entry.magx = values[0];
  if (y.edit->text() != numberText(model.entry.magy)) model.entry.magy = values[1];
  if (name->text() != QString::fromStdString(model.entry.magname))
    model.entry.magname = name->text().toStdString();
  return true;
}

void MagnificationWindow::updateButtons() {
  const bool right = check();
  const bool chosen = !rows->selectedItems().isEmpty();
  okButton->setEnabled(right);
  addButton->setEnabled(right);
  for (QPushButton* button : {selectButton, removeButton, defaultButton}) button->setEnabled(chosen);
}

void MagnificationWindow::addToList() {
  if (!check()) return;
  model.addToList();
  showRows(static_cast<int>(model.rows().size()) - 1);
}

void MagnificationWindow::select() {
  if (rows->currentRow() < 0) return;
  model.select(rows->currentRow());
  // Each change is checked into the entry: quiet until all three fields show it.
  const QSignalBlocker quiet[] = {QSignalBlocker(x.edit), QSignalBlocker(y.edit), QSignalBlocker(name)};
  showEntry();
  updateButtons();
}

void MagnificationWindow::remove() {
  const int row = rows->currentRow();
  if (row < 0) return;
  if (host().messages.show("Remove this magnification from the list?\n\n" + model.rows()[row], Buttons::YesNo,
                           Icon::Question) != Answer::Yes)
    return;
  model.remove(row);
  showRows(row);
}

void MagnificationWindow::setAsDefault() {
  if (rows->currentRow() < 0) return;
  model.setAsDefault(rows->currentRow());
  defaultLine->setText(QString::fromStdString(model.defaultLine()));
}

void MagnificationWindow::accept() {
  if (check()) QDialog::accept();
}

bool MagnificationTableFace::run(MagnificationDialog& dialog) {
  const MagnificationEntry before = dialog.entry;
  MagnificationWindow window(dialog, parent);
  if (window.exec() == QDialog::Accepted) return true;
  dialog.entry = before;
  return false;
}

}  // namespace tarnvisor
