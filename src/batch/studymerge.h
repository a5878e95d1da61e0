// The chunks of a study as one: tables, a data folder with its database, pictures, and what should be looked
// at.
#pragma once

#include <string>

#include "batch/studyplan.h"

namespace tarnvisor {

struct MergeWish {
  std::string folder;  // replaced where it is such a merged study, else it must not be there or be empty
  // The exams' folders beside the database, as hard links where the file system has them. Without, the
  // database tells of documents that lie with the chunks.
  bool withDocuments = true;
};

// Refuses, and leaves everything as it is, unless all chunks are there, are whole, hold exactly the planned
// exams, and were made by one version of the program with one set of settings and steps. What is made doesn't
// depend on the cut into chunks, nor on who ran them. failures: exams that are only in the table of failures.
[[nodiscard]] Outcome mergeStudy(const StudyPlan& plan, const MergeWish& wish, int64_t& failures);

}  // namespace tarnvisor
