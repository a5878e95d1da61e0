#include "desktop/formdialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <algorithm>

#include "desktop/qttext.h"
#include "host/host.h"

namespace tarnvisor {

FormDialog::FormDialog(Form& shown, QWidget* parent)
    : QDialog(parent),
      form(shown),
      rows(new FormRows(shown, shown.isLive() ? FormRows::Takes::AtOnce : FormRows::Takes::Later)) {
  setWindowTitle(toQt(shown.title()));
  auto* buttons = new QDialogButtonBox;
  const auto ending = std::ranges::find_if(shown.fields(), &FormField::ends);
  if (ending != shown.fields().end()) {
    addEndings(*ending, *buttons);
  } else {
    buttons->setStandardButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    ok = buttons->button(QDialogButtonBox::Ok);
    ok->setText(toQt(shown.okLabel()));
  }
  rows->fill(*this, *buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &FormDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &FormDialog::reject);
  rows->onChecked = [this] { ok->setEnabled(rows->allRight()); };
  rows->onChecked();
}

// What is accepted without a button, by Enter, is the first.
void FormDialog::addEndings(const FormField& field, QDialogButtonBox& buttons) {
  for (const std::string& label : field.choices) {
    QPushButton* button = buttons.addButton(toQt(label), QDialogButtonBox::ActionRole);
    button->setDefault(!ok);
    if (!ok) ok = button;
    connect(button, &QPushButton::clicked, this, [this, &field, label] {
      field.take(label);
      accept();
    });
  }
}

void FormDialog::accept() {
  if (!ok->isEnabled()) return;
  rows->take();
  if (const std::string problem = form.problem(); !problem.empty())
    host().messages.show(problem, Buttons::Ok, Icon::Warning);
  else
    QDialog::accept();
}

void FormDialog::reject() {
  rows->putBack();
  QDialog::reject();
}

}  // namespace tarnvisor
