// Any form as a small window that stays open beside the others: its rows, its own buttons and one to close
// it.
#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>

#include "desktop/formrows.h"

class QDialogButtonBox;
class QPushButton;

namespace tarnvisor {

class FormWindow final : public QDialog {
 public:
  FormWindow(Form shown, FormEvents told, QWidget* parent);
  ~FormWindow() override;
  // Out of sight at once, and told of nothing more; it goes when its present event is through.
  void end();
  void refresh(FormRows::Refreshes which = FormRows::Refreshes::AllButTheEdited);

  QWidget* editor(size_t field) const { return rows->editor(field); }
  // Where it stands, or stood when it went.
  std::shared_ptr<const Point> lastPlace() const { return place; }

  void reject() override;

 protected:
  void moveEvent(QMoveEvent* event) override;

 private:
  void addButton(QDialogButtonBox& box, const FormButton& button);
  void press(const FormButton& button);
  Form form;
  FormEvents events;
  FormRows* rows;
  std::vector<QPushButton*> taking;  // the buttons that are off while a value is wrong
  QTimer refreshes;
  std::shared_ptr<Point> place = std::make_shared<Point>();
  bool ended = false;
};

// Opens such a window.
std::unique_ptr<OpenForm> openFormWindow(Form form, FormEvents events, QWidget* parent);

}  // namespace tarnvisor
