// The numbers that stand in the result texts of documents, and their course over the exams of a subject.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "db/subjectdatabase.h"

namespace tarnvisor {

struct ResultFigure {
  std::string quantity;
  double value = 0;
  std::string unit;  // empty where the text tells none
  bool operator==(const ResultFigure&) const = default;
};

// Of "12.5, capillary density, 0.4, area" and of "Velocity 512.1 um/s, reliable": numbers with words before
// or behind them, between commas.
std::vector<ResultFigure> figuresIn(const std::string& result);
// Likewise of a document's row, with the units that its file tells.
std::vector<ResultFigure> figuresOf(const ExamRow& exam, const ResultRow& result);
// The first line of a result as it is shown in lists: numbers that the text leaves without a unit have the
// one that the file tells.
std::string shownResult(const std::string& result, const std::vector<ResultFigure>& figures);
// The mean of each quantity over the figures of an exam's documents, by name; what differs in its unit is
// another one.
struct MeanFigure {
  ResultFigure mean;
  int count = 0;
};
std::vector<MeanFigure> meansOf(const std::vector<std::vector<ResultFigure>>& documents);
// A quantity with its unit, as it is shown and asked for.
std::string wordsOf(const ResultFigure& figure);

// A quantity over the exams of a subject: for each that has it the mean of its documents.
struct Course {
  std::string quantity;
  std::string unit;
  std::string subject;
  std::string site;  // of all its exams; "all sites" where they differ
  std::string firstDay;
  struct Value {
    double day = 0;  // since the first exam
    double mean = 0;
  };
  std::vector<Value> values;
};

// All courses of the subject, by name; of the exams of one site where one is told.
std::vector<Course> coursesOf(const std::string& subject, const std::optional<std::string>& site = {});

// A document that a course can be shown in.
class CourseTaker {
 public:
  virtual ~CourseTaker() = default;
  [[nodiscard]] virtual bool takeCourse(const Course& course) = 0;
};

// The command: asks for the quantity, and makes a chart of it.
void runCourse();

}  // namespace tarnvisor
