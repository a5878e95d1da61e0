// Any form as a dialog: its rows, and OK off until all is right. The variables take their values at OK; those
// of a live form at each change.
#pragma once

#include <QDialog>

#include "desktop/formrows.h"

class QDialogButtonBox;
class QPushButton;

namespace tarnvisor {

class FormDialog final : public QDialog {
 public:
  // Borrows the form for its life.
  FormDialog(Form& shown, QWidget* parent);

  QWidget* editor(size_t field) const { return rows->editor(field); }
  QString wrongWords(size_t field) const { return rows->wrongWords(field); }
  QPushButton* okButton() const { return ok; }

  void accept() override;
  void reject() override;

 private:
  void addEndings(const FormField& field, QDialogButtonBox& buttons);
  Form& form;
  FormRows* rows;
  QPushButton* ok = nullptr;
};

}  // namespace tarnvisor
