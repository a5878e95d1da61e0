// The window "Exams of subject" without its face: the selected subject's exams with their documents, in order
// of time.
#pragma once

#include <string>
#include <vector>

#include "db/subjectdatabase.h"

namespace tarnvisor {

class ExamOverview {
 public:
  struct Document {
    std::string filename;
    std::string path;
    std::string result;
    std::string shown;  // its first line, with units
    std::string first;  // its first number with quantity and unit; empty where it has none
  };
  struct Exam {
    ExamRow row;
    std::string day;      // here, not in UTC
    std::string results;  // a line a quantity: the mean of the documents
    std::vector<Document> documents;
  };

  void refresh();
  const std::vector<Exam>& exams() const { return rows; }
  std::string heading() const;
  int selectedRow() const;  // -1 when none of the exams is selected
  // For what is recorded and bound from now on.
  void select(size_t row) const;
  // Of the exam that is selected by it.
  void open(size_t row, size_t document) const;

 private:
  std::vector<Exam> rows;
};

}  // namespace tarnvisor
