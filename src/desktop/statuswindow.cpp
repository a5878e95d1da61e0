#include "desktop/statuswindow.h"

#include <QFontDatabase>
#include <QLabel>
#include <QVBoxLayout>

namespace tarnvisor {

StatusWindow::StatusWindow(std::function<std::vector<std::string>()> lines, QWidget* parent)
    : QWidget(parent, Qt::Tool), source(std::move(lines)), text(new QLabel) {
  setWindowTitle("Status");
  // It comes and goes with a menu entry, without taking the keyboard from the picture.
  setAttribute(Qt::WA_ShowWithoutActivating);
  text->setTextFormat(Qt::PlainText);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(10, 8, 10, 8);
  layout->addWidget(text);
  setMinimumWidth(QFontMetrics(text->font()).averageCharWidth() * 28);
  timer.setInterval(kRefreshMs);
  connect(&timer, &QTimer::timeout, this, [this] { refresh(); });
}

void StatusWindow::refresh() {
  QStringList all;
  for (const std::string& line : source()) all << QString::fromStdString(line);
  const QString joined = all.join('\n');
  if (text->text() == joined) return;  // leaves a selection alone
  text->setText(joined);
  // Grows with its lines, and never shrinks under the mouse.
  resize(size().expandedTo(sizeHint()));
}

void StatusWindow::showEvent(QShowEvent* event) {
  refresh();
  timer.start();
  QWidget::showEvent(event);
}

void StatusWindow::closeEvent(QCloseEvent* event) {
  QWidget::closeEvent(event);
  if (onClosed) onClosed();
}

void StatusWindow::hideEvent(QHideEvent* event) {
  timer.stop();
  QWidget::hideEvent(event);
}

}  // namespace tarnvisor
