#include "desktop/remotewindow.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "desktop/qttext.h"
#include "desktop/silence.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr int kRowRole = Qt::UserRole;
constexpr int kSteps = 1000;
constexpr int kWatchMs = 100;

QLabel* labelFor(const char* words, QWidget* field) {
  auto* label = new QLabel(words);
  label->setBuddy(field);
  return label;
}

QLabel* plainLabel(const char* name) {
  auto* label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setObjectName(name);
  return label;
}

QPushButton* plainButton(const char* words) {
  auto* button = new QPushButton(words);
  button->setAutoDefault(false);
  return button;
}

}  // namespace

RemoteWindow::RemoteWindow(RemoteBrowser& browser, QWidget* parent) : QDialog(parent), model(browser) {
  setWindowTitle("Open from server");
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(buildServer());
  tree = new QTreeWidget;
  tree->setColumnCount(2);
  tree->setHeaderLabels({"Name", "Size"});
  tree->header()->setStretchLastSection(false);
  tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  tree->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  tree->setUniformRowHeights(true);
  tree->setMinimumHeight(fontMetrics().lineSpacing() * 14);
  layout->addWidget(tree, 1);
  layout->addWidget(buildFolder());
  statusLabel = plainLabel("status");
  bar = new QProgressBar;
  bar->setTextVisible(false);
  layout->addWidget(statusLabel);
  layout->addWidget(bar);
  layout->addWidget(buildButtons());
  watch = new QTimer(this);
  connect(watch, &QTimer::timeout, this, [this] { showProgress(); });
  connect(tree, &QTreeWidget::itemSelectionChanged, this, [this] { updateButtons(); });
  connect(tree, &QTreeWidget::itemActivated, this, [this] { openSelected(); });
  for (QLineEdit* edit : {serverEdit, userEdit, passwordEdit, pathEdit})
    connect(edit, &QLineEdit::returnPressed, this, [this] { connectToServer(); });
  model.onChange = [this] { refresh(); };
  refresh();
  resize(std::max(sizeHint().width(), 560), sizeHint().height());
}

RemoteWindow::~RemoteWindow() {
  model.onChange = nullptr;
  model.cancel();
  silenceChildren(*this);
}

QWidget* RemoteWindow::buildServer() {
  auto* fields = new QWidget;
  auto* grid = new QGridLayout(fields);
  grid->setContentsMargins(0, 0, 0, 0);
  serverEdit = new QLineEdit(toQt(model.server));
  serverEdit->setObjectName("server");
  portBox = new QSpinBox;
  portBox->setRange(1, 65535);
  portBox->setValue(model.port);
  userEdit = new QLineEdit(toQt(model.username));
  userEdit->setObjectName("user");
  passwordEdit = new QLineEdit;
  passwordEdit->setObjectName("password");
  passwordEdit->setEchoMode(QLineEdit::Password);
  pathEdit = new QLineEdit(toQt(model.path));
  connectButton = plainButton("&Connect");
  grid->addWidget(labelFor("&Server", serverEdit), 0, 0);
  grid->addWidget(serverEdit, 0, 1);
  grid->addWidget(labelFor("P&ort", portBox), 0, 2);
  grid->addWidget(portBox, 0, 3);
  grid->addWidget(labelFor("&User name", userEdit), 1, 0);
  grid->addWidget(userEdit, 1, 1);
  grid->addWidget(labelFor("Pass&word", passwordEdit), 1, 2);
  grid->addWidget(passwordEdit, 1, 3);
  grid->addWidget(labelFor("P&ath", pathEdit), 2, 0);
  grid->addWidget(pathEdit, 2, 1, 1, 2);
  grid->addWidget(connectButton, 2, 3);
  grid->setColumnStretch(1, 1);
  connect(connectButton, &QPushButton::clicked, this, [this] { connectToServer(); });
  return fields;
}

QWidget* RemoteWindow::buildFolder() {
  auto* row = new QWidget;
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  folderLabel = plainLabel("folder");
  auto* change = plainButton("C&hange...");
  connect(change, &QPushButton::clicked, this, [this] { chooseFolder(); });
  layout->addWidget(folderLabel, 1);
  layout->addWidget(change);
  return row;
}

QWidget* RemoteWindow::buildButtons() {
  auto* row = new QWidget;
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  upButton = plainButton("Folder a&bove");
  openButton = plainButton("O&pen");
  cancelButton = plainButton("Cancel");
  auto* closeButton = plainButton("Close");
  connect(upButton, &QPushButton::clicked, this, [this] { model.goUp(); });
  connect(openButton, &QPushButton::clicked, this, [this] { openSelected(); });
  connect(cancelButton, &QPushButton::clicked, this, [this] { model.cancel(); });
  connect(closeButton, &QPushButton::clicked, this, [this] { reject(); });
  layout->addWidget(upButton);
  layout->addStretch();
  for (QPushButton* button : {openButton, cancelButton, closeButton}) layout->addWidget(button);
  return row;
}

void RemoteWindow::done(int result) {
  model.cancel();
  QDialog::done(result);
}

void RemoteWindow::connectToServer() {
  model.server = fromQt(serverEdit->text().trimmed());
  model.port = portBox->value();
  model.username = fromQt(userEdit->text().trimmed());
  model.path = fromQt(pathEdit->text().trimmed());
  const std::string typed = fromQt(passwordEdit->text());
  passwordEdit->clear();
  model.connect(typed);
}

void RemoteWindow::openSelected() {
  const QList<QTreeWidgetItem*> chosen = tree->selectedItems();
  if (chosen.isEmpty() || !chosen[0]->data(0, kRowRole).isValid()) return;
  model.choose(chosen[0]->data(0, kRowRole).toULongLong());
}

void RemoteWindow::chooseFolder() {
  if (const auto folder = host().choosers.chooseFolder("Folder for files", model.folder());
      folder && !folder->empty())
    model.keepIn(*folder);
}

void RemoteWindow::refresh() {
  if (!model.isBusy()) fillTree();
  passwordEdit->setPlaceholderText(model.keepsPassword() ? "kept" : "");
  folderLabel->setText("Files go to " + toQt(model.folder()));
  statusLabel->setText(toQt(model.status()));
  showProgress();
  updateButtons();
}

void RemoteWindow::fillTree() {
  const QSignalBlocker quiet(tree);
  tree->clear();
  const std::vector<RemoteBrowser::Row> rows = model.rows();
  if (!model.isConnected()) {
    new QTreeWidgetItem(tree, {toQt(rows[0].name)});
    return;
  }
  pathEdit->setText(toQt(model.path));
  auto* root = new QTreeWidgetItem(tree, {toQt(model.path.empty() ? "/" : model.path)});
  for (size_t i = 0; i < rows.size(); ++i) {
    auto* item = new QTreeWidgetItem(root, {toQt(rows[i].name), toQt(rows[i].detail)});
    item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    item->setData(0, kRowRole, static_cast<qulonglong>(i));
  }
  root->setExpanded(true);
}

// Without a size the bar moves to and fro.
void RemoteWindow::showProgress() {
  const bool busy = model.isBusy();
  const int64_t total = model.total();
  bar->setVisible(busy);
  bar->setRange(0, total > 0 ? kSteps : 0);
  if (total > 0) bar->setValue(static_cast<int>(std::min(model.done(), total) * kSteps / total));
  if (busy && !watch->isActive()) watch->start(kWatchMs);
  if (!busy) watch->stop();
}

void RemoteWindow::updateButtons() {
  const bool busy = model.isBusy();
  const QList<QTreeWidgetItem*> chosen = tree->selectedItems();
  connectButton->setEnabled(!busy);
  upButton->setEnabled(!busy && model.isConnected());
  openButton->setEnabled(!busy && !chosen.isEmpty() && chosen[0]->data(0, kRowRole).isValid());
  cancelButton->setEnabled(busy);
}

void RemoteWindowFace::openOrRaise(RemoteBrowser& browser) {
  if (!window) window = new RemoteWindow(browser, parent);
  window->show();
  window->raise();
  window->activateWindow();
}

}  // namespace tarnvisor
