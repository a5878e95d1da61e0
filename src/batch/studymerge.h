// The chunks of a study as one: tables, a data folder with its database, pictures, and what should be looked
// at.
#pragma once

#include <string>

#include "batch/studyplan.h"

namespace tarnvisor {

struct MergeWish {
  // One that was merged before is kept beside; anything else must not be there or be empty.
  std::string folder;
  // The exams' folders beside the database, as hard links where the file system has them, but for movies.
  // Without, the database tells of documents that lie with the chunks.
  bool withDocuments = true;
};

struct MergedStudy {
  int64_t failures = 0;  // exams that are only in the table of failures
  std::string before;    // where a study merged before is now: somebody may have corrected documents in it
};

// Refuses, and leaves everything as it is, unless all chunks are there, are whole, hold exactly the planned
// exams, and were made by one version of the program with one set of settings and steps. What is made doesn't
// depend on the cut into chunks, nor on who ran them.
[[nodiscard]] Outcome mergeStudy(const StudyPlan& plan, const MergeWish& wish, MergedStudy& merged);

}  // namespace tarnvisor
