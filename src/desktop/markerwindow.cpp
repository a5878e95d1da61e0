#include "desktop/markerwindow.h"

#include <memory>

namespace tarnvisor {

MarkerFace::MarkerFace(QWidget* parentWindow) : parent(parentWindow) {
  MarkerEditor::shared().onChange = [this] { follow(); };
}

MarkerFace::~MarkerFace() {
  MarkerEditor::shared().onChange = nullptr;
  MarkerEditor::shared().close();
  delete dialog;
}

// Out of sight at once; its form goes with it, once its own events are through.
void MarkerFace::drop() {
  if (!dialog) return;
  place = dialog->pos();
  hasPlace = true;
  dialog->disconnect();
  dialog->hide();
  dialog->deleteLater();
  dialog.clear();
}

void MarkerFace::follow() {
  drop();
  MarkerEditor& editor = MarkerEditor::shared();
  if (!editor.isOpen()) return;
  auto shown = std::make_shared<Form>(editor.form());
  dialog = new FormDialog(*shown, parent);
  // The form lives as long as the dialog.
  QObject::connect(dialog, &QObject::destroyed, [shown] {});
  QObject::connect(dialog, &QDialog::accepted, dialog, [this] { updated(); });
  QObject::connect(dialog, &QDialog::rejected, dialog, [] { MarkerEditor::shared().close(); });
  dialog->setModal(false);
  if (hasPlace) dialog->move(place);
  dialog->show();
  dialog->raise();
  dialog->activateWindow();
}

// The window stays, with what the marker has now.
void MarkerFace::updated() {
  MarkerEditor::shared().update();
  follow();
}

}  // namespace tarnvisor
