#include "desktop/qtports.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <cmath>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "desktop/formdialog.h"
#include "desktop/formwindow.h"
#include "desktop/qttext.h"
#include "settings/profile.h"

namespace tarnvisor {

namespace {
QWidget* visibleMainWindow() {
  for (QWidget* window : QApplication::topLevelWidgets())
    if (window->isVisible() && window->inherits("QMainWindow")) return window;
  return nullptr;
}
}  // namespace

QWidget* dialogParent() {
  if (QWidget* modal = QApplication::activeModalWidget()) return modal;
  if (QWidget* active = QApplication::activeWindow()) return active;
  return visibleMainWindow();
}

// --- how far a long work is

namespace {
constexpr int kSteps = 1000;
constexpr double kBetweenSeconds = 0.05;

std::string shareText(int64_t done, int64_t total, double seconds) {
  const double left = done > 0 ? seconds / static_cast<double>(done) * static_cast<double>(total - done) : 0;
  return format("%lld of %lld, %.0f s left", static_cast<long long>(done), static_cast<long long>(total),
                std::ceil(left));
}
}  // namespace

// --- wait cursor

int QtWaitCursor::depth = 0;

void QtWaitCursor::begin() {
  if (depth++ > 0) return;
  QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  startedAt = steadySeconds();
}

void QtWaitCursor::end() {
  if (depth == 0 || --depth > 0) return;
  QGuiApplication::restoreOverrideCursor();
  dialog.reset();
}

bool QtWaitCursor::progress(const std::string& what, int64_t done, int64_t total) {
  constexpr double kShortSeconds = 0.6;
  const double now = steadySeconds();
  if (depth == 0 || process.quietMode || total < 1 || now - startedAt < kShortSeconds) return true;
  if (!dialog) {
    dialog = std::make_unique<QProgressDialog>(QString(), "Cancel", 0, kSteps, dialogParent());
    dialog->setWindowTitle(toQt(programTitle()));
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->setMinimumDuration(0);
    dialog->setAutoClose(false);
    dialog->setAutoReset(false);
    dialog->setMinimumWidth(360);
    dialog->show();
  }
  if (now - shownAt < kBetweenSeconds && done < total) return !dialog->wasCanceled();
  shownAt = now;
  dialog->setLabelText(toQt(what + "\n" + shareText(done, total, now - startedAt)));
  dialog->setValue(static_cast<int>(done * kSteps / total));  // lets the events of this dialog in
  return !dialog->wasCanceled();
}

// --- progress windows

namespace {
class QtProgressWindow final : public ProgressWindow {
 public:
  explicit QtProgressWindow(const std::string& title)
      : dialog(QString(), "Cancel", 0, kSteps, dialogParent()) {
    dialog.setWindowTitle(toQt(title));
    dialog.setAutoClose(false);
    dialog.setAutoReset(false);
    dialog.setMinimumWidth(420);
    dialog.show();
  }
  bool show(const std::string& words, int64_t done, int64_t total) override {
    const double now = steadySeconds();
    if (now - shownAt < kBetweenSeconds) return !dialog.wasCanceled();
    shownAt = now;
    dialog.setLabelText(toQt(words + "\n" + shareText(done, total, now - startedAt)));
    if (total > 0) dialog.setValue(static_cast<int>(done * kSteps / total));
    return !dialog.wasCanceled();
  }

 private:
  QProgressDialog dialog;
  double startedAt = steadySeconds(), shownAt = 0;
};
}  // namespace

std::unique_ptr<ProgressWindow> makeProgressWindow(const std::string& title) {
  return std::make_unique<QtProgressWindow>(title);
}

// --- waiting behind dialogs

QtWaitCursor::Pause::Pause() {
  if (depth > 0) QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
}

QtWaitCursor::Pause::~Pause() {
  if (depth > 0) QGuiApplication::restoreOverrideCursor();
}

// --- messages

namespace {

QMessageBox::Icon iconOf(Icon icon) {
  switch (icon) {
    case Icon::Question:
      return QMessageBox::Question;
    case Icon::Careful:
    case Icon::Warning:
      return QMessageBox::Warning;
    case Icon::Error:
      return QMessageBox::Critical;
    default:
      return QMessageBox::Information;
  }
}

QMessageBox::StandardButtons buttonsOf(Buttons buttons) {
  switch (buttons) {
    case Buttons::OkCancel:
      return QMessageBox::Ok | QMessageBox::Cancel;
    case Buttons::YesNo:
      return QMessageBox::Yes | QMessageBox::No;
    case Buttons::YesNoCancel:
      return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    default:
      return QMessageBox::Ok;
  }
}

}  // namespace

Answer QtMessages::show(const std::string& text, Buttons buttons, Icon icon) {
  if (onStandardError || process.quietMode) {
    std::fprintf(stderr, "%s\n", text.c_str());
    toldError = toldError || icon == Icon::Warning || icon == Icon::Error;
    // Nothing is saved, and the run comes to its end.
    return buttons == Buttons::Ok ? Answer::Ok : buttons == Buttons::OkCancel ? Answer::Cancel : Answer::No;
  }
  const QtWaitCursor::Pause pause;
  QMessageBox box(iconOf(icon), toQt(programTitle()), toQt(text), buttonsOf(buttons), dialogParent());
  box.setTextFormat(Qt::PlainText);
  box.setTextInteractionFlags(Qt::TextSelectableByMouse);
  if (buttons == Buttons::YesNo) box.setEscapeButton(QMessageBox::No);
  if (icon == Icon::Careful) {
    box.setDefaultButton(buttons == Buttons::YesNo ? QMessageBox::No : QMessageBox::Cancel);
    for (QAbstractButton* button : box.buttons()) button->setText(button->text().remove('&'));
  }
  switch (box.exec()) {
    case QMessageBox::Ok:
      return Answer::Ok;
    case QMessageBox::Yes:
      return Answer::Yes;
    case QMessageBox::No:
      return Answer::No;
    default:
      return buttons == Buttons::Ok ? Answer::Ok : buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
  }
}

void QtMessages::notice(const Notice& told) {
  if (!onStandardError && !process.quietMode && onNotice) onNotice(told);
}

// --- choosers

QStringList qtFilters(const std::string& filter) {
  const std::vector<std::string> parts = split(filter, '|');
  QStringList filters;
  for (size_t i = 0; i + 1 < parts.size() && !parts[i].empty(); i += 2) {
    // What stands in brackets in the words are the patterns again.
    const std::string words(trimmed(parts[i].substr(0, parts[i].find('('))));
    const std::string patterns = parts[i + 1] == "*.*" ? "*" : replaced(parts[i + 1], ';', ' ');
    filters << toQt(format("%s (%s)", words.c_str(), patterns.c_str()));
  }
  return filters;
}

namespace {

// The folder itself, or what of its path still exists.
QString nearestFolder(std::string path) {
  while (!path.empty() && !folderExists(path)) {
    while (path.size() > 1 && path.back() == kSeparator) path.pop_back();
    path = path.size() > 1 ? folderOf(path) : std::string();
  }
  return toQt(path.empty() ? workingFolder() : path);
}

// A text of the selected file below the list; only Qt's own dialog has room for one.
void addPreview(QFileDialog& dialog, const std::function<std::string(const std::string&)>& preview) {
  dialog.setOption(QFileDialog::DontUseNativeDialog);
  auto* field = new QPlainTextEdit(&dialog);
  field->setObjectName("preview");
  field->setReadOnly(true);
  field->setTabChangesFocus(true);
  field->setPlaceholderText("The header of the selected file");
  field->setFixedHeight(field->fontMetrics().lineSpacing() * 5);
  if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout()))
    grid->addWidget(field, grid->rowCount(), 0, 1, grid->columnCount());
  const auto show = [field, preview](const QString& path) {
    constexpr size_t kShown = 10000;
    field->setPlainText(QFileInfo(path).isFile() ? toQt(preview(fromQt(path)).substr(0, kShown)) : QString());
  };
  QObject::connect(&dialog, &QFileDialog::currentChanged, field, show);
  // A name that is typed selects nothing.
  if (const auto* name = dialog.findChild<QLineEdit*>("fileNameEdit"))
    QObject::connect(name, &QLineEdit::textChanged, field, [&dialog, show](const QString& typed) {
      show(dialog.directory().absoluteFilePath(typed));
    });
}

void prepare(QFileDialog& dialog, const FileRequest& request) {
  dialog.setWindowTitle(toQt(request.title));
  // Native dialogs have no room for a line of one's own.
  if (!request.whose.empty()) {
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    auto* whose = new QLabel(toQt(request.whose));
    whose->setObjectName("whose");
    whose->setTextFormat(Qt::PlainText);
    whose->setMargin(8);
    dialog.layout()->setMenuBar(whose);
  }
  const QStringList filters = qtFilters(request.filter);
  if (!filters.isEmpty()) dialog.setNameFilters(filters);
  // A long list of endings must not make the dialog wider than the screen.
  if (auto* kinds = dialog.findChild<QComboBox*>("fileTypeCombo"))
    kinds->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  if (request.defaultExtension.size() > 1) dialog.setDefaultSuffix(toQt(request.defaultExtension.substr(1)));
  // Where nobody says: where the user last worked.
  const bool placed = !folderOf(request.initialPath).empty();
  dialog.setDirectory(nearestFolder(placed ? request.initialPath : rememberedFolder()));
  if (!folderExists(request.initialPath)) dialog.selectFile(toQt(fileNameOf(request.initialPath)));
}

std::vector<std::string> chosen(QFileDialog& dialog) {
  const QtWaitCursor::Pause pause;
  std::vector<std::string> paths;
  if (dialog.exec() == QDialog::Accepted)
    for (const QString& path : dialog.selectedFiles()) paths.push_back(fromQt(path));
  if (!paths.empty() && dialog.fileMode() != QFileDialog::Directory) rememberFolder(paths.front());
  return paths;
}

std::optional<std::string> firstOf(const std::vector<std::string>& paths) {
  return paths.empty() ? std::nullopt : std::optional(paths.front());
}

}  // namespace

std::optional<std::string> QtChoosers::openFile(const FileRequest& request) {
  if (process.quietMode) return std::nullopt;
  QFileDialog dialog(dialogParent());
  dialog.setFileMode(QFileDialog::ExistingFile);
  if (request.preview) addPreview(dialog, request.preview);
  prepare(dialog, request);
  return firstOf(chosen(dialog));
}

std::optional<std::string> QtChoosers::saveFile(const FileRequest& request) {
  if (process.quietMode) return std::nullopt;
  QFileDialog dialog(dialogParent());
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setFileMode(QFileDialog::AnyFile);
  prepare(dialog, request);
  return firstOf(chosen(dialog));
}

std::vector<std::string> QtChoosers::openFiles(const FileRequest& request) {
  if (process.quietMode) return {};
  QFileDialog dialog(dialogParent());
  dialog.setFileMode(QFileDialog::ExistingFiles);
  prepare(dialog, request);
  return chosen(dialog);
}

std::optional<std::string> QtChoosers::chooseFolder(const std::string& title, const std::string& current) {
  if (process.quietMode) return std::nullopt;
  QFileDialog dialog(dialogParent(), toQt(title).section('\n', 0, 0), nearestFolder(current));
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  return firstOf(chosen(dialog));
}

// --- forms

bool QtForms::run(Form& form) {
  if (process.quietMode) return false;
  const QtWaitCursor::Pause pause;
  FormDialog dialog(form, dialogParent());
  return dialog.exec() == QDialog::Accepted;
}

std::unique_ptr<OpenForm> QtForms::show(Form form, FormEvents events) {
  if (process.quietMode) return std::make_unique<FacelessForm>(events.place.value_or(Point{}));
  return openFormWindow(std::move(form), std::move(events), visibleMainWindow());
}

// --- clipboard

namespace {

QString mimeOf(const std::string& format) { return toQt("application/x-tarnvisor-" + lowerCase(format)); }

std::vector<uint8_t> bytesOf(const QByteArray& from) { return {from.begin(), from.end()}; }

}  // namespace

void QtClipboard::setText(const std::string& text) { QGuiApplication::clipboard()->setText(toQt(text)); }

std::optional<std::string> QtClipboard::text() {
  const QMimeData* held = QGuiApplication::clipboard()->mimeData();
  if (!held || !held->hasText()) return std::nullopt;
  return fromQt(held->text());
}

ClipboardResult QtClipboard::setData(const std::string& format, const std::vector<uint8_t>& bytes) {
  auto* held = new QMimeData;  // the clipboard takes it over
  held->setData(mimeOf(format), QByteArray(reinterpret_cast<const char*>(bytes.data()),
                                           static_cast<qsizetype>(bytes.size())));
  QGuiApplication::clipboard()->setMimeData(held);
  return ClipboardResult::Done;
}

std::optional<std::vector<uint8_t>> QtClipboard::data(const std::string& format) {
  const QMimeData* held = QGuiApplication::clipboard()->mimeData();
  if (!held || !held->hasFormat(mimeOf(format))) return std::nullopt;
  return bytesOf(held->data(mimeOf(format)));
}

std::optional<std::vector<uint8_t>> QtClipboard::bitmap() {
  constexpr int kFileHeaderBytes = 14;
  const QImage picture = QGuiApplication::clipboard()->image();
  if (picture.isNull()) return std::nullopt;
  QByteArray file;
  QBuffer buffer(&file);
  const bool grey = picture.isGrayscale();
  const QImage plain = picture.convertToFormat(grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
  if (!buffer.open(QIODevice::WriteOnly) || !plain.save(&buffer, "BMP")) return std::nullopt;
  return bytesOf(file.mid(kFileHeaderBytes));
}

}  // namespace tarnvisor
