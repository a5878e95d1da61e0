// Any form as a dialog: a labelled field a row, what is wrong with a value beside it as it is typed, and OK
// off until all is right. The variables take their values at OK; those of a live form at each change.
#pragma once

#include <QDialog>
#include <QTimer>
#include <functional>
#include <variant>
#include <vector>

#include "host/form.h"

class QGridLayout;
class QLabel;
class QPushButton;

namespace tarnvisor {

class FormDialog final : public QDialog {
 public:
  // Borrows the form for its life.
  FormDialog(Form& shown, QWidget* parent);

  // The control that edits a field, by the field's place in the form; null for a note.
  QWidget* editor(size_t field) const { return rows[field].control; }
  // What is said beside a field; empty when its value is right.
  QString wrongWords(size_t field) const;
  QPushButton* okButton() const { return ok; }

  void accept() override;
  void reject() override;

 private:
  using Value = std::variant<std::monostate, int32_t, double, std::string>;
  struct Row {
    const FormField* field = nullptr;
    QWidget* control = nullptr;
    QLabel* wrong = nullptr;
    std::function<std::string()> text;             // what the control holds
    std::function<void(const std::string&)> show;  // puts a value into the control
    Value before;                                  // the bound value when the dialog opened
  };

  static Value valueOf(const FormField& field);
  static void restore(const FormField& field, const Value& value);
  void addRow(QGridLayout& grid, const FormField& field);
  void addControl(Row& row, QGridLayout& grid, int line);
  QWidget* makeLine(Row& row, size_t index);
  QWidget* makeLongText(Row& row, size_t index);
  QWidget* makeCheck(Row& row, size_t index);
  QWidget* makeChoice(Row& row, size_t index);
  QWidget* makeColour(Row& row, size_t index);
  QWidget* makeFile(Row& row, size_t index);
  QWidget* withSlider(QWidget* line, const FormField& field, size_t index);
  bool check(size_t index);  // shows what is wrong with a value; true when nothing is
  void edited(size_t index);
  void tell();
  Form& form;
  std::vector<Row> rows;
  QPushButton* ok = nullptr;
  QTimer changes;  // gathers the moves of a slider
};

}  // namespace tarnvisor
