// The rows of any form: a labelled control a field, and beside it what is wrong with its value as it is
// typed.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <variant>
#include <vector>

#include "host/form.h"

class QComboBox;
class QDialog;
class QDialogButtonBox;
class QGridLayout;
class QLabel;
class QLineEdit;

namespace tarnvisor {

class FormRows final : public QWidget {
 public:
  // Right values go to the variables as they are typed, or all by take().
  enum class Takes { Later, AtOnce };
  // Borrows the form for its life.
  FormRows(Form& shown, Takes when);
  // Rows above, buttons below; scrolled where the screen is too low.
  void fill(QDialog& dialog, QDialogButtonBox& buttons);

  // The control of a field, by the field's place in the form; null for a note.
  QWidget* editor(size_t field) const { return rows[field].control; }
  // What is said beside a field; empty when its value is right.
  QString wrongWords(size_t field) const;
  bool allRight() const;
  std::function<void()> onChecked;  // a value became right or wrong, maybe

  void take();
  void putBack();  // the values that the variables had at first
  enum class Refreshes { All, AllButTheEdited, Readings };
  void refresh(Refreshes which);
  // The form's changes are told after short rests: at once, or no more.
  void tellPending();
  void tellNoMore() { changes.stop(); }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  using Value = std::variant<std::monostate, int32_t, double, std::string>;
  struct Row {
    const FormField* field = nullptr;
    QWidget* control = nullptr;
    QLabel* wrong = nullptr;
    std::function<std::string()> text;                      // what the control holds
    std::function<void(const std::string&)> show;           // puts a value into the control
    std::function<bool()> isEdited = [] { return false; };  // the user is about to change it
    Value before;                                           // the bound value at first
  };

  static Value valueOf(const FormField& field);
  static void restore(const FormField& field, const Value& value);
  void addRow(QGridLayout& grid, const FormField& field);
  void addControl(Row& row, QGridLayout& grid, int line);
  QWidget* makeLine(Row& row, size_t index);
  static QComboBox* makeOffers(const FormField& field);
  QWidget* makeLongText(Row& row, size_t index);
  QWidget* makeReading(Row& row);
  QWidget* makeCheck(Row& row, size_t index);
  QWidget* makeChoice(Row& row, size_t index);
  QWidget* makeColour(Row& row, size_t index);
  QWidget* makeFile(Row& row, size_t index);
  QWidget* withSlider(QLineEdit* edit, Row& row, size_t index);
  bool check(size_t index);  // shows what is wrong with a value; true when nothing is
  void edited(size_t index);
  Form& form;
  const bool atOnce;
  bool refreshing = false;
  std::vector<Row> rows;
  QTimer changes;  // gathers the moves of a slider
};

}  // namespace tarnvisor
