// The report of an examination, or of all examinations of a subject, as a PDF file: who and where, each
// document as its file holds it, and the course of the results. What a document gives to it comes from its
// view (framework/reportpart.h).
#pragma once

#include <string>
#include <vector>

#include "base/outcome.h"
#include "db/subjectdatabase.h"

namespace tarnvisor {

// Of the subject's exams those that are named; each site begins on a page of its own. What could not be
// opened, or is not stored as it is shown, stands in the report and comes in `left`, a line each.
[[nodiscard]] Outcome writeExamReport(const std::string& path, const std::string& subject,
                                      const std::vector<ExamRow>& exams, std::vector<std::string>& left);
// The command: asks for the place, and for which examinations of the selected subject.
void examReportCommand();

}  // namespace tarnvisor
