// The face of the dialog "Select Subject": the id is searched for as it is typed, and details that were
// changed are never left without a question.
#pragma once

#include <QDialog>
#include <array>

#include "exams/subjectselection.h"

class QComboBox;
class QCompleter;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QStringListModel;
class QTreeView;

namespace tarnvisor {

class DirectoryModel;

class SubjectWindow final : public QDialog {
 public:
  SubjectWindow(SubjectDialog& dialog, QWidget* parent);
  ~SubjectWindow() override;

  // How the dialog was left: Nothing, as by Escape, until a button says otherwise.
  SubjectDialog::Result result() const { return outcome; }
  void reject() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void build();
  void connectAll();
  QWidget* buildDirectory();
  QWidget* buildId();
  QWidget* buildDetails();
  QWidget* buildButtons();

  void idEdited(const QString& text);
  void chooseId(const QString& text);
  void offer();
  void chooseRow(int row);  // of the list of all subjects
  void readDirectory();
  void showRow();  // the one of the id
  void cancel();
  bool chooseTyped();  // the subject that the typed id names; false when it names none
  void addAsNewId();
  bool saveDetails();  // false when they could not be written
  void leave(SubjectDialog::Result how);
  // Asks about details that are not saved yet. False when the user wants to go on with them.
  bool settleDetails();

  // The model's subject into the fields; without one they are empty.
  void showDetails();
  void showModel();
  void showOffered();
  void setIdText(const QString& text);
  void updateButtons();
  QString idText() const;
  bool detailsChanged() const;
  bool isKnown(const QString& text) const;  // exactly so, in the list of the last used or not
  bool namesSubject() const;

  SubjectDialog& model;
  SubjectDialog::Result outcome = SubjectDialog::Result::Nothing;
  std::string shownId;  // whose details the fields hold; empty for nobody's
  std::string newId;    // of the subject that was added last
  using Fields = std::array<QString, 5>;
  Fields fields() const;
  void setFields(const Fields& texts);
  Fields saved;  // the fields as the database has them
  QString idBeforeEdit;

  QComboBox* idBox;
  QStringListModel* offered;
  QCompleter* completer;
  QLineEdit* searchEdit;
  QLabel* countLabel;
  QTreeView* list;
  DirectoryModel* listed;
  QLineEdit* nameEdit;
  QLineEdit* surnameEdit;
  QLineEdit* bornEdit;
  QComboBox* sexBox;
  QPlainTextEdit* commentEdit;
  QPlainTextEdit* descriptionBox;
  QPushButton* addButton;
  QPushButton* saveButton;
  QPushButton* startButton;
  QPushButton* viewButton;
  QPushButton* cancelButton;
};

class SubjectFace final : public SubjectDialogFace {
 public:
  explicit SubjectFace(QWidget* parentWindow) : parent(parentWindow) {}
  SubjectDialog::Result run(SubjectDialog& dialog) override;

 private:
  QWidget* parent;  // borrowed
};

}  // namespace tarnvisor
