// The windows of the subject database, without their faces: choosing a subject, starting an examination, the
// list of exams with their results, and the automatic analysis of an exam's images.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "db/subjectdatabase.h"
#include "exams/examselection.h"
#include "exams/subjectdirectory.h"

namespace tarnvisor {

// The dialog "Select Subject".
class SubjectDialog {
 public:
  // Nothing leaves all as it was.
  enum class Result { StartNewExamination, ViewExaminations, Cancel, Nothing };
  static constexpr size_t kLongestId = 65535;

  // Opens on the present selection.
  SubjectDialog();

  // What the id box offers: the last used subjects, or those whose id begins with what is typed; at most 30.
  // With exactly one match it is selected and its details are read.
  void typeId(const std::string& text);
  void chooseId(const std::string& text);  // an entry of the list
  // Blanks become "_". Asks where a subject's id differs by its capitals alone, and takes that one with a
  // yes; false when the user cancels.
  bool addAsNewId();
  // Writes what was changed here; what another program changed meanwhile in other fields stays. False when it
  // was not written, and the user was told.
  bool saveDetails();
  // Asks, where an exam was selected, whether to stop working with its subject.
  bool mayCancel() const;
  // Ends the dialog; leaving it for an examination marks the subject as used just now. Cancel clears the
  // selection, Nothing brings back the one before.
  void finish(Result result);

  // Whether there is a subject of exactly that id.
  bool knows(const std::string& text) const;
  const std::vector<std::string>& offered() const { return ids; }
  const std::string& description() const { return dbDescription; }  // lines about the database

  std::string id;
  std::string name;
  std::string surname;
  std::string comment;
  std::string born;  // see PersonRow; here also as it was typed
  std::string sex;
  SubjectDirectory directory;

 private:
  void fillList();
  void readDetails();
  using Details = std::array<std::string, 5>;
  Details details() const { return {name, surname, comment, born, sex}; }
  void setDetails(const Details& now) { std::tie(name, surname, comment, born, sex) = std::tuple_cat(now); }
  const ExamSelection::State before;
  Details detailsRead;  // as the database had them
  std::vector<std::string> ids;
  std::string dbDescription;
};

// The eight fingers that are looked at.
const std::vector<std::string>& fingers();
// Makes the exam's folder and row for the selected subject and selects it. False without a database,
// subject or site, or when the row can't be written (the user is told).
[[nodiscard]] bool makeExamination(const std::string& site, const std::string& comment);
// Closes all documents first; false also when the user keeps one open, and then nothing has begun.
[[nodiscard]] bool startNewExamination(const std::string& site, const std::string& comment);

// The whole of the command, with a face to run the dialog; startAcquisition is posted at its end.
class SubjectDialogFace {
 public:
  virtual ~SubjectDialogFace() = default;
  virtual SubjectDialog::Result run(SubjectDialog& dialog) = 0;
};
void runSelectSubject(SubjectDialogFace& face);
// An examination of the selected subject; where none is selected, one is chosen first.
void runNewExamination(SubjectDialogFace& face);

// The window "Select Exam".
class ExamList {
 public:
  static const std::vector<std::string>& examColumns();    // "examid", "Site", "Date", "comments", "folder"
  static const std::vector<std::string>& resultColumns();  // "id", "date", "filename", "result"

  void refresh();
  void refreshResults();
  // Selects the exam of a row of exams() for what is recorded and bound from now on.
  void select(size_t row);
  // The path of a row of results(). Opening it is the application's: openResult also tiles the windows.
  std::string pathOfResult(size_t row) const;
  void openResult(size_t row) const;

  std::string heading() const;  // "Subject ", the id, ": ", the name
  const std::vector<ExamRow>& exams() const { return examRows; }
  const std::vector<ResultRow>& results() const { return resultRows; }
  int selectedRow() const;  // -1 when no row is the selected exam

 private:
  std::vector<ExamRow> examRows;
  std::vector<ResultRow> resultRows;
};

class AutomaticAnalysis {
 public:
  virtual ~AutomaticAnalysis() = default;
  // Whether somebody marked it before.
  virtual bool isMarked() const = 0;
  // False when it can't be.
  [[nodiscard]] virtual bool analyseAutomatically() = 0;
};
// Opens every result of the selected exam through the image type and, with key `postprocess` of section
// `settings` set, runs the automatic analysis of each and saves those that nobody had marked.
void runProcessResults();

}  // namespace tarnvisor
