// A study: many exams measured by the same steps with the same settings, cut into chunks that any engine may
// run, each by itself. Its folder holds all that a chunk needs but the pictures; docs/formats/study.md tells
// its files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "batch/studyfiles.h"
#include "batch/studysteps.h"
#include "db/subjectdatabase.h"

namespace tarnvisor {

struct StudyExam {
  int32_t number = 0;              // in tarn.db: the place in key order, from 1, whatever the cut into chunks
  std::vector<std::string> cells;  // of the list of exams, in the order of its columns
};

struct PlanWish {
  std::string manifest, steps, folder;
  std::string settings;     // the file whose copy all chunks use
  int32_t chunkSize = 200;  // exams
  std::string day;          // of exams whose date the list doesn't tell; empty for today
  bool pictures = false;    // of each saved document, as its window shows it
};
// Makes the folder, which must not be there yet or be empty. On failure nothing of it stays.
[[nodiscard]] Outcome makePlan(const PlanWish& wish);

class StudyPlan {
 public:
  // Fails also where the copies of steps and settings are no longer those that were planned.
  [[nodiscard]] Outcome open(const std::string& studyFolder);

  int32_t chunks() const { return chunkCount; }
  int64_t exams() const { return examCount; }
  bool wantsPictures() const { return pictures; }
  const std::vector<std::string>& columns() const { return heading; }
  const StudySteps& steps() const { return script; }
  const std::string& fact(const std::string& name) const;  // of plan.csv; empty where it tells none
  [[nodiscard]] Outcome examsOf(int32_t chunk, std::vector<StudyExam>& exams) const;

  // Of an exam's row; empty where there is no such column.
  std::string cell(const StudyExam& exam, const std::string& column) const;
  std::string key(const StudyExam& exam) const { return cell(exam, "key"); }
  ExamRow rowOf(const StudyExam& exam) const;  // of the database, its folder named by the key
  // Where a file that the list names lies.
  std::string pathOf(const std::string& file) const;
  // The same, as seen from the merged study.
  std::string linkOf(const std::string& file) const;

  const std::string& folder() const { return place; }  // with its separator
  std::string settingsFile() const { return place + "settings.ini"; }
  // That one of its copies is the one that was planned.
  [[nodiscard]] Outcome checkCopy(const std::string& name) const;
  std::string doneFolder(int32_t chunk) const;
  bool isDone(int32_t chunk) const;
  std::string partFolder() const { return place + "part/"; }

 private:
  std::string place;
  Facts facts;
  std::vector<std::string> heading;
  StudySteps script;
  std::vector<std::string> sums;  // of the chunks' lists
  int32_t chunkCount = 0;
  int64_t examCount = 0;
  bool pictures = false;
};

// "000012"
std::string chunkName(int32_t chunk);

}  // namespace tarnvisor
