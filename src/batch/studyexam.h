// One exam of a study, measured in a process of its own: what an exam before left behind, a crash or a hang
// costs no other exam, and a result doesn't depend on the cut into chunks.
#pragma once

#include <string>
#include <vector>

#include "batch/studyplan.h"
#include "results/measures.h"

namespace tarnvisor {

// What an exam's own folder holds once it was run.
namespace examfiles {
inline constexpr const char* kMeasures = kMeasuresFile;
inline constexpr const char* kResults = "results.csv";  // of tarn.db
inline constexpr const char* kReview = "review.csv";    // what somebody should look at
inline constexpr const char* kInputs = "inputs.csv";
inline constexpr const char* kFailure = "failure.csv";  // there only where it failed
inline constexpr const char* kData = "data/";           // a data folder with that exam alone
inline constexpr const char* kPictures = "pictures/";
inline constexpr const char* kLog = "log.txt";
}  // namespace examfiles

// The columns of the tables, the same in an exam, a chunk and the whole.
const std::vector<std::string>& resultsHeading();
const std::vector<std::string>& reviewHeading();
const std::vector<std::string>& inputsHeading();
// In inputs.csv before the name of a file that no listed one lies beside: others may have that name.
inline constexpr const char* kElsewhere = ".../";
const std::vector<std::string>& failuresHeading();

struct ExamLimits {
  int threads = 1;        // results don't depend on it
  double seconds = 3600;  // an exam that takes longer has failed
};

// Runs the exam in `work`, a folder of its own with a separator, with a copy of `settings`, and returns when
// its process has ended.
// False where it failed: kFailure then tells at which step and why.
[[nodiscard]] bool runExam(const StudyPlan& plan, const StudyExam& exam, const std::string& settings,
                           const std::string& work, const ExamLimits& limits);

}  // namespace tarnvisor
