#include "desktop/formrows.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QCompleter>
#include <QDialog>
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
#include <memory>

#include "base/text.h"
#include "desktop/qttext.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr int kTellWithinMs = 15;  // with its drawing, a move of a slider shows within two frames
constexpr int kSliderSteps = 1000;
constexpr int kSlider = 240, kWideSlider = 400;
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

// Offers in a list what of the choices holds the words typed. The combo box's own would write into the line.
void offerWhileTyping(QComboBox& list) {
  auto* offered = new QCompleter(list.model(), &list);
  offered->setFilterMode(Qt::MatchContains);
  offered->setCaseSensitivity(Qt::CaseInsensitive);
  offered->setWidget(list.lineEdit());
  QObject::connect(list.lineEdit(), &QLineEdit::textEdited, offered, [offered](const QString& words) {
    offered->setCompletionPrefix(words);
    const bool tellsMore = offered->completionCount() > 1 || offered->currentCompletion() != words;
    if (words.isEmpty() || offered->completionCount() == 0 || !tellsMore) return offered->popup()->hide();
    offered->complete();
  });
  QObject::connect(offered, qOverload<const QString&>(&QCompleter::activated), list.lineEdit(),
                   &QLineEdit::setText);
}

}  // namespace

FormRows::FormRows(Form& shown, Takes when) : form(shown), atOnce(when == Takes::AtOnce) {
  auto* grid = new QGridLayout(this);
  grid->setColumnStretch(1, 1);
  rows.reserve(form.fields().size());
  for (const FormField& field : form.fields()) addRow(*grid, field);
  changes.setSingleShot(true);
  changes.setInterval(kTellWithinMs);
  connect(&changes, &QTimer::timeout, this, [this] {
    form.changed();
    refresh(Refreshes::Readings);
  });
  // What the profile holds may be outside the limits too.
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].control) check(i);
}

void FormRows::fill(QDialog& dialog, QDialogButtonBox& buttons) {
  auto* outer = new QVBoxLayout(&dialog);
  const int most = QGuiApplication::primaryScreen()->availableSize().height() * 3 / 4;
  if (sizeHint().height() > most) {
    auto* scrolled = new QScrollArea;
    scrolled->setWidget(this);
    scrolled->setWidgetResizable(true);
    scrolled->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scrolled);
    dialog.resize(sizeHint().width() + kWrongWidth + 48, most);
  } else {
    outer->addWidget(this);
  }
  const bool tall = std::ranges::any_of(
      form.fields(), [](const FormField& f) { return f.kind == FormField::Kind::LongText; });
  outer->addWidget(&buttons);
  if (tall) dialog.resize(QSize(640, 420).expandedTo(dialog.sizeHint()));
}

// What is shown first is there to be typed over.
void FormRows::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  const auto takesKeys = [](const Row& row) {
    return row.control && !row.field->readOnly && row.control->focusPolicy() != Qt::NoFocus;
  };
  auto first =
      std::ranges::find_if(rows, [&](const Row& row) { return takesKeys(row) && row.field->begins; });
  if (first == rows.end()) first = std::ranges::find_if(rows, takesKeys);
  auto* line = first == rows.end() ? nullptr : qobject_cast<QLineEdit*>(first->control);
  if (!line || event->spontaneous()) return;
  line->setFocus(Qt::OtherFocusReason);
  line->selectAll();
}

FormRows::Value FormRows::valueOf(const FormField& field) {
  if (const auto* whole = std::get_if<int32_t*>(&field.target)) return **whole;
  if (const auto* number = std::get_if<double*>(&field.target)) return **number;
  if (const auto* text = std::get_if<std::string*>(&field.target)) return **text;
  return std::monostate{};
}

void FormRows::restore(const FormField& field, const Value& value) {
  if (const auto* whole = std::get_if<int32_t*>(&field.target)) **whole = std::get<int32_t>(value);
  if (const auto* number = std::get_if<double*>(&field.target)) **number = std::get<double>(value);
  if (const auto* text = std::get_if<std::string*>(&field.target)) **text = std::get<std::string>(value);
}

void FormRows::addRow(QGridLayout& grid, const FormField& field) {
  Row& row = rows.emplace_back();
  row.field = &field;
  row.before = valueOf(field);
  if (field.ends) return;  // its buttons stand below
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

void FormRows::addControl(Row& row, QGridLayout& grid, int line) {
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
    case Kind::Reading:
      placed = makeReading(row);
      break;
    default:
      placed = makeLine(row, index);
  }
  auto* label = new QLabel(toQt(row.field->label));
  label->setBuddy(row.control);
  const bool tall = row.field->kind == Kind::LongText;
  grid.addWidget(label, line, 0, tall ? Qt::AlignTop | Qt::AlignLeft : Qt::AlignVCenter | Qt::AlignLeft);
  row.control->setAccessibleName(toQt(row.field->label).remove('&'));
  if (!row.field->unit.empty()) {
    row.control->setAccessibleDescription(toQt(row.field->unit));
    auto* both = new QWidget;
    auto* layout = new QHBoxLayout(both);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(placed, 1);
    layout->addWidget(new QLabel(toQt(row.field->unit)));
    placed = both;
  }
  grid.addWidget(placed, line, 1);
  if (tall) grid.setRowStretch(line, 1);
}

// A list to choose from around a line to type in, which stays as it is typed.
QComboBox* FormRows::makeOffers(const FormField& field) {
  auto* list = new QComboBox;
  list->setEditable(true);
  list->setInsertPolicy(QComboBox::NoInsert);
  list->setCompleter(nullptr);
  offerWhileTyping(*list);
  for (const std::string& text : field.choices) list->addItem(toQt(text));
  list->setCurrentIndex(-1);
  list->setMaxVisibleItems(list->count());
  return list;
}

QWidget* FormRows::makeLine(Row& row, size_t index) {
  QComboBox* offers = row.field->choices.empty() ? nullptr : makeOffers(*row.field);
  auto* line = offers ? offers->lineEdit() : new QLineEdit;
  line->setText(toQt(row.field->value()));
  line->setReadOnly(row.field->readOnly);
  const bool number = row.field->kind != FormField::Kind::Text;
  line->setMinimumWidth(number ? 110 : 240);
  row.control = line;
  row.text = [line] { return fromQt(line->text()); };
  row.show = [line](const std::string& text) {
    if (fromQt(line->text()) != text) line->setText(toQt(text));
  };
  row.isEdited = [line] { return line->hasFocus() && line->isModified(); };
  connect(line, &QLineEdit::textChanged, this, [this, index] { edited(index); });
  connect(line, &QLineEdit::editingFinished, line, [line] { line->setModified(false); });
  const bool slides = row.field->slides || (form.isLive() && number && hasLimits(*row.field));
  if (offers) return offers;
  return slides ? withSlider(line, row, index) : line;
}

QWidget* FormRows::withSlider(QLineEdit* edit, Row& row, size_t index) {
  const FormField& field = *row.field;
  auto* both = new QWidget;
  auto* layout = new QHBoxLayout(both);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* slider = new QSlider(Qt::Horizontal);
  const double low = field.limits.low;
  const bool whole = field.kind == FormField::Kind::Whole;
  const double step = whole ? 1.0 : (field.limits.high - low) / kSliderSteps;
  slider->setRange(0, static_cast<int>(std::min((field.limits.high - low) / step, 1e9)));
  slider->setPageStep(std::max(1, slider->maximum() / 16));
  slider->setMinimumWidth(field.slides ? kWideSlider : kSlider);
  layout->addWidget(slider, 1);
  layout->addWidget(edit);
  edit->setMaximumWidth(110);
  const auto follow = [slider, edit, low, step] {
    bool isNumber = false;
    const double value = edit->text().trimmed().toDouble(&isNumber);
    if (!isNumber) return;
    const QSignalBlocker silent(slider);
    slider->setValue(static_cast<int>(std::clamp(std::round((value - low) / step), 0.0, 1e9)));
  };
  follow();
  row.isEdited = [slider, typed = row.isEdited] { return slider->isSliderDown() || typed(); };
  connect(edit, &QLineEdit::textChanged, slider, follow);
  connect(slider, &QSlider::valueChanged, this, [this, index, low, step, whole](int place) {
    rows[index].show(whole ? format("%.0f", low + place) : format("%.10g", low + place * step));
  });
  return both;
}

QWidget* FormRows::makeLongText(Row& row, size_t index) {
  auto* box = new QPlainTextEdit;
  box->setReadOnly(row.field->readOnly);
  box->setTabChangesFocus(true);
  box->setMinimumSize(260, 160);
  row.control = box;
  // Untouched, the text keeps the line ends that it came with.
  auto before = std::make_shared<std::string>();
  row.text = [box, before] { return box->document()->isModified() ? fromQt(box->toPlainText()) : *before; };
  row.show = [box, before](std::string text) {
    *before = text;
    std::erase(text, '\r');
    const QSignalBlocker shown(box);  // it would pass for typed
    if (fromQt(box->toPlainText()) != text) box->setPlainText(toQt(text));
    box->document()->setModified(false);
  };
  row.isEdited = [box] { return box->hasFocus() && box->document()->isModified(); };
  row.show(row.field->value());
  connect(box, &QPlainTextEdit::textChanged, this, [this, index] { edited(index); });
  return box;
}

QWidget* FormRows::makeReading(Row& row) {
  auto* reading = new QLabel;
  reading->setTextFormat(Qt::PlainText);
  reading->setTextInteractionFlags(Qt::TextSelectableByMouse);
  row.control = reading;
  row.text = [field = row.field] { return field->value(); };
  row.show = [reading](const std::string& text) {
    if (fromQt(reading->text()) != text) reading->setText(toQt(text));  // leaves a selection alone
  };
  row.show(row.field->value());
  if (atOnce) {  // a window that stays does not grow and shrink with what it tells
    reading->setMinimumWidth(reading->sizeHint().width());
    reading->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  }
  return reading;
}

QWidget* FormRows::makeCheck(Row& row, size_t index) {
  auto* check = new QCheckBox(toQt(row.field->label));
  check->setChecked(row.field->value() == "1");
  check->setEnabled(!row.field->readOnly);
  row.control = check;
  row.text = [check] { return std::string(check->isChecked() ? "1" : "0"); };
  row.show = [check](const std::string& text) { check->setChecked(text == "1"); };
  connect(check, &QCheckBox::toggled, this, [this, index] { edited(index); });
  return check;
}

QWidget* FormRows::makeChoice(Row& row, size_t index) {
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
  row.isEdited = [list] { return list->view()->isVisible(); };
  connect(list, &QComboBox::currentIndexChanged, this, [this, index] { edited(index); });
  return list;
}

QWidget* FormRows::makeColour(Row& row, size_t index) {
  auto* button = new QPushButton;
  button->setEnabled(!row.field->readOnly);
  button->setAutoDefault(false);
  showSwatch(*button, row.field->value());
  row.control = button;
  row.text = [button] { return fromQt(button->property("colour").toString()); };
  row.show = [button](const std::string& text) {
    if (fromQt(button->property("colour").toString()) != text) showSwatch(*button, text);
  };
  connect(button, &QPushButton::clicked, this, [this, index, button] {
    const auto now = static_cast<Colour>(std::strtol(rows[index].text().c_str(), nullptr, 10));
    const QColor chosen = QColorDialog::getColor(toQt(now), this, toQt(rows[index].field->label));
    if (!chosen.isValid()) return;
    showSwatch(*button, format("%u", fromQt(chosen)));
    edited(index);
  });
  return button;
}

QWidget* FormRows::makeFile(Row& row, size_t index) {
  auto* both = new QWidget;
  auto* layout = new QHBoxLayout(both);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(makeLine(row, index), 1);
  auto* browse = new QPushButton("&Browse...");
  browse->setAutoDefault(false);
  browse->setEnabled(!row.field->readOnly);
  layout->addWidget(browse);
  if (!row.field->title.empty()) browse->setText("...");
  connect(browse, &QPushButton::clicked, this, [this, index] {
    if (const std::string& title = rows[index].field->title; !title.empty()) {
      const auto folder = host().choosers.chooseFolder(title, rows[index].text());
      if (folder && !folder->empty()) rows[index].show(*folder);
      return;
    }
    FileRequest request;
    request.title = rows[index].field->label;
    std::erase(request.title, '&');
    request.filter = rows[index].field->filter;
    request.initialPath = rows[index].text();
    if (const auto chosen = host().choosers.openFile(request)) rows[index].show(*chosen);
  });
  return both;
}

QString FormRows::wrongWords(size_t field) const {
  const Row& row = rows[field];
  return row.wrong ? row.wrong->text() : QString();
}

// A value is tried on the variable itself, which knows its limits, and taken back unless it is to be taken at
// once. Where the control shows what the variable has, that keeps the digits that are not shown.
bool FormRows::check(size_t index) {
  Row& row = rows[index];
  if (row.field->readOnly || !row.wrong) return true;
  const Value present = valueOf(*row.field);
  const std::string text = row.text();
  const bool differs = text != row.field->value();
  std::string words = row.field->take(text);
  std::erase(words, '&');
  if (!atOnce || !differs || !words.empty()) restore(*row.field, present);
  const bool appears = row.wrong->isHidden() != words.empty();
  row.wrong->setText(toQt(words));
  row.wrong->setVisible(!words.empty());
  if (appears)
    QTimer::singleShot(0, this,
                       [this] { window()->resize(window()->sizeHint().expandedTo(window()->size())); });
  if (onChecked) onChecked();
  return words.empty();
}

bool FormRows::allRight() const {
  return std::ranges::all_of(rows, [](const Row& row) { return !row.wrong || row.wrong->text().isEmpty(); });
}

void FormRows::edited(size_t index) {
  if (check(index) && form.isLive() && !refreshing && !changes.isActive()) changes.start();
}

void FormRows::tellPending() {
  if (!changes.isActive()) return;
  changes.stop();
  form.changed();
}

void FormRows::take() {
  for (const Row& row : rows)
    if (row.control && !row.field->readOnly && row.text() != row.field->value()) row.field->take(row.text());
  tellPending();
}

void FormRows::putBack() {
  changes.stop();
  bool moved = false;
  for (const Row& row : rows) {
    if (!row.control || row.field->readOnly || valueOf(*row.field) == row.before) continue;
    restore(*row.field, row.before);
    moved = true;
  }
  if (moved) form.changed();
}

void FormRows::refresh(Refreshes which) {
  const auto isWanted = [which](const Row& row) {
    if (which == Refreshes::Readings) return row.field->kind == FormField::Kind::Reading;
    return which == Refreshes::All || !row.isEdited();
  };
  refreshing = true;
  for (const Row& row : rows)
    if (row.control && isWanted(row)) row.show(row.field->value());
  refreshing = false;
}

}  // namespace tarnvisor
