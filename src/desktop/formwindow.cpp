#include "desktop/formwindow.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QPointer>
#include <QPushButton>

#include "desktop/qttext.h"

namespace tarnvisor {

FormWindow::FormWindow(Form shown, FormEvents told, QWidget* parent)
    : QDialog(parent, Qt::Tool),
      form(std::move(shown)),
      events(std::move(told)),
      rows(new FormRows(form, FormRows::Takes::AtOnce)) {
  setWindowTitle(toQt(form.title()));
  auto* box = new QDialogButtonBox;
  for (const FormButton& button : events.buttons) addButton(*box, button);
  QPushButton* close = box->addButton(QDialogButtonBox::Close);
  close->setText(toQt(events.closeLabel));
  close->setAutoDefault(false);
  connect(box, &QDialogButtonBox::rejected, this, &FormWindow::reject);
  rows->fill(*this, *box);
  rows->onChecked = [this] {
    for (QPushButton* button : taking) button->setEnabled(rows->allRight());
  };
  rows->onChecked();
  if (events.place) move(events.place->x, events.place->y);
  connect(&refreshes, &QTimer::timeout, this, [this] {
    if (!QApplication::activeModalWidget()) refresh();
  });
  if (events.refreshMs > 0) refreshes.start(events.refreshMs);
}

FormWindow::~FormWindow() = default;

void FormWindow::addButton(QDialogButtonBox& box, const FormButton& button) {
  using Role = QDialogButtonBox::ButtonRole;
  QPushButton* made =
      box.addButton(toQt(button.label), button.takesValues ? Role::AcceptRole : Role::ActionRole);
  made->setAutoDefault(button.takesValues);
  connect(made, &QPushButton::clicked, this, [this, &button] { press(button); });
  if (button.takesValues) taking.push_back(made);
}

// What is called may end this window, which lasts until its event is through; its variables may be gone then.
void FormWindow::press(const FormButton& button) {
  rows->tellPending();
  if (ended) return;
  button.press();
  using Which = FormRows::Refreshes;
  refresh(button.takesValues ? Which::All : Which::AllButTheEdited);
}

// A change that was typed just before is told first: what the owner reads anew would undo it.
void FormWindow::refresh(FormRows::Refreshes which) {
  if (!ended) rows->tellPending();
  if (ended) return;
  if (events.onRefresh) events.onRefresh();
  if (!ended) rows->refresh(which);
}

void FormWindow::reject() {
  rows->tellPending();
  if (ended) return;
  refreshes.stop();
  QDialog::reject();
  if (events.onClose) events.onClose();
}

void FormWindow::end() {
  ended = true;
  refreshes.stop();
  rows->tellNoMore();
  hide();
  deleteLater();
}

void FormWindow::moveEvent(QMoveEvent* event) {
  QDialog::moveEvent(event);
  *place = {x(), y()};
}

namespace {

class OpenFormWindow final : public OpenForm {
 public:
  explicit OpenFormWindow(FormWindow& shown) : window(&shown), last(shown.lastPlace()) {}
  ~OpenFormWindow() override {
    if (window) window->end();
  }
  void refresh() override {
    if (window) window->refresh();
  }
  bool isOpen() const override { return window && !window->isHidden(); }
  Point place() const override { return window ? Point{window->x(), window->y()} : *last; }

 private:
  QPointer<FormWindow> window;  // goes with its parent
  std::shared_ptr<const Point> last;
};

}  // namespace

std::unique_ptr<OpenForm> openFormWindow(Form form, FormEvents events, QWidget* parent) {
  auto* window = new FormWindow(std::move(form), std::move(events), parent);
  auto open = std::make_unique<OpenFormWindow>(*window);
  window->show();
  window->raise();
  window->activateWindow();
  return open;
}

}  // namespace tarnvisor
