#include "desktop/formdialog.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSlider>
#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "desktop/qttext.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr int kTellWithinMs = 15;  // with its drawing, a move of a slider shows within two frames
constexpr int kSliderSteps = 1000;
constexpr int kWrongWidth = 220;

bool hasLimits(const FormField& field) {
  return std::isfinite(field.limits.low) && std::isfinite(field.limits.high) &&
         field.limits.high > field.limits.low;
}

void showSwatch(QPushButton& button, const std::string& colour) {
  QPixmap swatch(32, 16);
  swatch.fill(toQt(static_cast<Colour>(std::strtol(colour.c_str(), nullptr, 10))));
  button.setIcon(swatch);
  button.setIconSize(swatch.size());
  button.setProperty("colour", toQt(colour));
}

}  // namespace

FormDialog::FormDialog(Form& shown, QWidget* parent) : QDialog(parent), form(shown) {
  setWindowTitle(toQt(form.title()));
  auto* content = new QWidget;
  auto* grid = new QGridLayout(content);
  grid->setColumnStretch(1, 1);
  rows.reserve(form.fields().size());
  for (const FormField& field : form.fields()) addRow(*grid, field);

  auto* outer = new QVBoxLayout(this);
  const int most = QGuiApplication::primaryScreen()->availableSize().height() * 3 / 4;
  if (content->sizeHint().height() > most) {
    auto* scrolled = new QScrollArea;
    scrolled->setWidget(content);
    scrolled->setWidgetResizable(true);
    scrolled->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scrolled);
    resize(content->sizeHint().width() + kWrongWidth + 48, most);
  } else {
    outer->addWidget(content);
  }
  const bool tall = std::ranges::any_of(
      form.fields(), [](const FormField& f) { return f.kind == FormField::Kind::LongText; });
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  ok = buttons->button(QDialogButtonBox::Ok);
  ok->setText(toQt(form.okLabel()));
  outer->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &FormDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &FormDialog::reject);
  changes.setSingleShot(true);
  changes.setInterval(kTellWithinMs);
  connect(&changes, &QTimer::timeout, this, &FormDialog::tell);
  if (tall) resize(QSize(640, 420).expandedTo(sizeHint()));
  // What the profile holds may be outside the limits too.
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].control) check(i);
}

FormDialog::Value FormDialog::valueOf(const FormField& field) {
  if (const auto* whole = std::get_if<int32_t*>(&field.target)) return **whole;
  if (const auto* number = std::get_if<double*>(&field.target)) return **number;
  if (const auto* text = std::get_if<std::string*>(&field.target)) return **text;
  return std::monostate{};
}

void FormDialog::restore(const FormField& field, const Value& value) {
  if (const auto* whole = std::get_if<int32_t*>(&field.target)) **whole = std::get<int32_t>(value);
  if (const auto* number = std::get_if<double*>(&field.target)) **number = std::get<double>(value);
  if (const auto* text = std::get_if<std::string*>(&field.target)) **text = std::get<std::string>(value);
}

void FormDialog::addRow(QGridLayout& grid, const FormField& field) {
  Row& row = rows.emplace_back();
  row.field = &field;
  row.before = valueOf(field);
  const int line = grid.rowCount();
  if (field.kind == FormField::Kind::Note) {
    auto* note = new QLabel(toQt(field.label));
    note->setWordWrap(true);
    note->setTextFormat(Qt::PlainText);
    note->setMinimumWidth(320);
    grid.addWidget(note, line, 0, 1, 3);
    return;
  }
  addControl(row, grid, line);
  row.wrong = new QLabel;
  row.wrong->setTextFormat(Qt::PlainText);
  row.wrong->setWordWrap(true);
  row.wrong->setMaximumWidth(kWrongWidth);
  row.wrong->setMinimumWidth(kWrongWidth);
  row.wrong->setForegroundRole(QPalette::WindowText);
  QPalette red = row.wrong->palette();
  const bool dark = red.color(QPalette::Window).lightness() < 128;
  red.setColor(QPalette::WindowText, dark ? QColor(255, 128, 120) : QColor(184, 0, 0));
  row.wrong->setPalette(red);
  row.wrong->hide();
  grid.addWidget(row.wrong, line, 2);
}

void FormDialog::addControl(Row& row, QGridLayout& grid, int line) {
  using Kind = FormField::Kind;
  const size_t index = rows.size() - 1;
  QWidget* placed = nullptr;
  switch (row.field->kind) {
    case Kind::Check:
      grid.addWidget(makeCheck(row, index), line, 1);
      return;
    case Kind::LongText:
      placed = makeLongText(row, index);
      break;
    case Kind::Choice:
      placed = makeChoice(row, index);
      break;
    case Kind::ColourValue:
      placed = makeColour(row, index);
      break;
    case Kind::File:
      placed = makeFile(row, index);
      break;
    default:
      placed = makeLine(row, index);
  }
  auto* label = new QLabel(toQt(row.field->label));
  label->setBuddy(row.control);
  const bool tall = row.field->kind == Kind::LongText;
  grid.addWidget(label, line, 0, tall ? Qt::AlignTop | Qt::AlignLeft : Qt::AlignVCenter | Qt::AlignLeft);
  grid.addWidget(placed, line, 1);
  if (tall) grid.setRowStretch(line, 1);
}

QWidget* FormDialog::makeLine(Row& row, size_t index) {
  auto* line = new QLineEdit(toQt(row.field->value()));
  line->setReadOnly(row.field->readOnly);
  const bool number = row.field->kind != FormField::Kind::Text;
  line->setMinimumWidth(number ? 110 : 240);
  row.control = line;
  row.text = [line] { return fromQt(line->text()); };
  row.show = [line](const std::string& text) {
    if (fromQt(line->text()) != text) line->setText(toQt(text));
  };
  connect(line, &QLineEdit::textChanged, this, [this, index] { edited(index); });
  return form.isLive() && number && hasLimits(*row.field) ? withSlider(line, *row.field, index) : line;
}

QWidget* FormDialog::withSlider(QWidget* line, const FormField& field, size_t index) {
  auto* both = new QWidget;
  auto* layout = new QHBoxLayout(both);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* slider = new QSlider(Qt::Horizontal);
  const double low = field.limits.low;
  const bool whole = field.kind == FormField::Kind::Whole;
  const double step = whole ? 1.0 : (field.limits.high - low) / kSliderSteps;
  slider->setRange(0, static_cast<int>(std::min((field.limits.high - low) / step, 1e9)));
  slider->setPageStep(std::max(1, slider->maximum() / 16));
  slider->setMinimumWidth(240);
  layout->addWidget(slider, 1);
  layout->addWidget(line);
  auto* edit = static_cast<QLineEdit*>(line);
  edit->setMaximumWidth(110);
  const auto follow = [slider, edit, low, step] {
    bool isNumber = false;
    const double value = edit->text().trimmed().toDouble(&isNumber);
    if (!isNumber) return;
    const QSignalBlocker silent(slider);
    slider->setValue(static_cast<int>(std::clamp(std::round((value - low) / step), 0.0, 1e9)));
  };
  follow();
  connect(edit, &QLineEdit::textChanged, slider, follow);
  connect(slider, &QSlider::valueChanged, this, [this, index, low, step, whole](int place) {
    rows[index].show(whole ? format("%.0f", low + place) : format("%.10g", low + place * step));
  });
  return both;
}

QWidget* FormDialog::makeLongText(Row& row, size_t index) {
  std::string words = row.field->value();
  std::erase(words, '\r');
  auto* box = new QPlainTextEdit(toQt(words));
  box->setReadOnly(row.field->readOnly);
  box->setTabChangesFocus(true);
  box->setMinimumSize(260, 160);
  row.control = box;
  // Untouched, the text keeps the line ends that it came with.
  row.text = [box, before = row.field->value()] {
    return box->document()->isModified() ? fromQt(box->toPlainText()) : before;
  };
  row.show = [box](const std::string& text) { box->setPlainText(toQt(text)); };
  connect(box, &QPlainTextEdit::textChanged, this, [this, index] { edited(index); });
  return box;
}

QWidget* FormDialog::makeCheck(Row& row, size_t index) {
  auto* check = new QCheckBox(toQt(row.field->label));
  check->setChecked(row.field->value() == "1");
  check->setEnabled(!row.field->readOnly);
  row.control = check;
  row.text = [check] { return std::string(check->isChecked() ? "1" : "0"); };
  row.show = [check](const std::string& text) { check->setChecked(text == "1"); };
  connect(check, &QCheckBox::toggled, this, [this, index] { edited(index); });
  return check;
}

QWidget* FormDialog::makeChoice(Row& row, size_t index) {
  auto* list = new QComboBox;
  for (const std::string& choice : row.field->choices) list->addItem(toQt(choice));
  list->setCurrentIndex(std::get<int32_t>(row.before));
  list->setEnabled(!row.field->readOnly);
  row.control = list;
  row.text = [row = &row, list] {
    const int at = list->currentIndex();
    return at < 0 ? row->field->value() : row->field->choices[static_cast<size_t>(at)];
  };
  row.show = [list](const std::string& text) { list->setCurrentIndex(list->findText(toQt(text))); };
  connect(list, &QComboBox::currentIndexChanged, this, [this, index] { edited(index); });
  return list;
}

QWidget* FormDialog::makeColour(Row& row, size_t index) {
  auto* button = new QPushButton;
  button->setEnabled(!row.field->readOnly);
  button->setAutoDefault(false);
  showSwatch(*button, row.field->value());
  row.control = button;
  row.text = [button] { return fromQt(button->property("colour").toString()); };
  row.show = [button](const std::string& text) { showSwatch(*button, text); };
  connect(button, &QPushButton::clicked, this, [this, index, button] {
    const auto now = static_cast<Colour>(std::strtol(rows[index].text().c_str(), nullptr, 10));
    const QColor chosen = QColorDialog::getColor(toQt(now), this, toQt(rows[index].field->label));
    if (!chosen.isValid()) return;
    showSwatch(*button, format("%u", fromQt(chosen)));
    edited(index);
  });
  return button;
}

QWidget* FormDialog::makeFile(Row& row, size_t index) {
  auto* both = new QWidget;
  auto* layout = new QHBoxLayout(both);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(makeLine(row, index), 1);
  auto* browse = new QPushButton("&Browse...");
  browse->setAutoDefault(false);
  browse->setEnabled(!row.field->readOnly);
  layout->addWidget(browse);
  connect(browse, &QPushButton::clicked, this, [this, index] {
    FileRequest request;
    request.title = rows[index].field->label;
    std::erase(request.title, '&');
    request.filter = rows[index].field->filter;
    request.initialPath = rows[index].text();
    if (const auto chosen = host().choosers.openFile(request)) rows[index].show(*chosen);
  });
  return both;
}

QString FormDialog::wrongWords(size_t field) const {
  const Row& row = rows[field];
  return row.wrong ? row.wrong->text() : QString();
}

// A value is tried on the variable itself, which knows its limits, and taken back unless the form is live.
bool FormDialog::check(size_t index) {
  Row& row = rows[index];
  if (row.field->readOnly || !row.wrong) return true;
  const Value present = valueOf(*row.field);
  std::string words = row.field->take(row.text());
  std::erase(words, '&');
  if (!form.isLive() || !words.empty()) restore(*row.field, present);
  const bool appears = row.wrong->isHidden() != words.empty();
  row.wrong->setText(toQt(words));
  row.wrong->setVisible(!words.empty());
  if (appears) QTimer::singleShot(0, this, [this] { resize(sizeHint().expandedTo(size())); });
  bool right = true;
  for (const Row& each : rows) right = right && (!each.wrong || each.wrong->text().isEmpty());
  ok->setEnabled(right);
  return words.empty();
}

void FormDialog::edited(size_t index) {
  if (check(index) && form.isLive() && !changes.isActive()) changes.start();
}

void FormDialog::tell() { form.changed(); }

void FormDialog::accept() {
  if (!ok->isEnabled()) return;
  for (const Row& row : rows)
    if (row.control && !row.field->readOnly && row.text() != row.field->value()) row.field->take(row.text());
  if (changes.isActive()) {
    changes.stop();
    tell();
  }
  QDialog::accept();
}

void FormDialog::reject() {
  changes.stop();
  bool moved = false;
  for (const Row& row : rows) {
    if (!row.control || valueOf(*row.field) == row.before) continue;
    restore(*row.field, row.before);
    moved = true;
  }
  if (moved) form.changed();
  QDialog::reject();
}

}  // namespace tarnvisor
