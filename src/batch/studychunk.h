// A chunk of a study: its exams one after the other, in a folder that nobody else sees before it is whole.
#pragma once

#include "batch/studyexam.h"
#include "batch/studyplan.h"

namespace tarnvisor {

// What the folder of a chunk that is done holds, beside what its exams have.
namespace chunkfiles {
inline constexpr const char* kExams = "exams.csv";
inline constexpr const char* kFailures = "failures.csv";
inline constexpr const char* kProvenance = "provenance.csv";  // what numbers depend on
inline constexpr const char* kSettings = "settings.ini";      // while it runs
inline constexpr const char* kRun = "run.csv";                // where, by whom and when: not compared
inline constexpr const char* kFiles = "files.csv";            // the size of each document and picture
inline constexpr const char* kDone = "done";                  // SHA-256 of each table
}  // namespace chunkfiles

// The tables whose sums `done` tells, in its order.
const std::vector<std::string>& chunkTables();
const std::vector<std::string>& filesHeading();
// The plan's columns with number and state of each exam.
std::vector<std::string> examsHeading(const StudyPlan& plan);

// Does nothing where it is done already. Exams that fail are told in its tables and counted, and are no
// failure of the chunk; failure means that nothing of it is there.
[[nodiscard]] Outcome runChunk(const StudyPlan& plan, int32_t chunk, const ExamLimits& limits,
                               int32_t& failures);

}  // namespace tarnvisor
