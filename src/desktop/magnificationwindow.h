// The face of the dialog "Magnification": the document's scale, and the table of known scales.
#pragma once

#include <QDialog>

#include "imagedoc/magnificationdialog.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace tarnvisor {

class MagnificationWindow final : public QDialog {
 public:
  MagnificationWindow(MagnificationDialog& dialog, QWidget* parent);
  ~MagnificationWindow() override;
  void accept() override;

 private:
  struct Scale {
    QLineEdit* edit;
    QLabel* wrong;  // the words beside a value that can't be
  };
  QWidget* buildFields();
  QWidget* buildTable();
  QWidget* buildButtons();
  Scale makeScale(const char* name);

  void showEntry();
  void showRows(int row);  // the row to be current afterwards
  bool check();            // the fields as typed, into the entry; false when a value can't be
  void updateButtons();
  void addToList();
  void select();
  void remove();
  void setAsDefault();

  MagnificationDialog& model;
  Scale x;
  Scale y;
  QLineEdit* name;
  QListWidget* rows;
  QLabel* defaultLine;
  QPushButton* addButton;
  QPushButton* selectButton;
  QPushButton* removeButton;
  QPushButton* defaultButton;
  QPushButton* okButton;
};

// Installs itself as the dialog's face for as long as it lives.
class MagnificationTableFace final : public MagnificationFace {
 public:
  explicit MagnificationTableFace(QWidget* parentWindow) : parent(parentWindow) {
    MagnificationDialog::face = this;
  }
  ~MagnificationTableFace() override {
    if (MagnificationDialog::face == this) MagnificationDialog::face = nullptr;
  }
  MagnificationTableFace(const MagnificationTableFace&) = delete;
  MagnificationTableFace& operator=(const MagnificationTableFace&) = delete;
  bool run(MagnificationDialog& dialog) override;

 private:
  QWidget* parent;  // borrowed
};

}  // namespace tarnvisor
