#include "desktop/formdialog.h"

#include <QDialogButtonBox>
#include <QPushButton>

#include "desktop/qttext.h"

namespace tarnvisor {

FormDialog::FormDialog(Form& shown, QWidget* parent)
    : QDialog(parent),
      rows(new FormRows(shown, shown.isLive() ? FormRows::Takes::AtOnce : FormRows::Takes::Later)) {
  setWindowTitle(toQt(shown.title()));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  ok = buttons->button(QDialogButtonBox::Ok);
  ok->setText(toQt(shown.okLabel()));
  rows->fill(*this, *buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &FormDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &FormDialog::reject);
  rows->onChecked = [this] { ok->setEnabled(rows->allRight()); };
  rows->onChecked();
}

void FormDialog::accept() {
  if (!ok->isEnabled()) return;
  rows->take();
  QDialog::accept();
}

void FormDialog::reject() {
  rows->putBack();
  QDialog::reject();
}

}  // namespace tarnvisor
