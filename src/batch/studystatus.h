// How far a study is, and what workers that were stopped left of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "batch/studyplan.h"

namespace tarnvisor {

struct StudyStatus {
  std::vector<int32_t> left;  // chunks that are not done
  int64_t failures = 0;       // exams that failed, of those that are done
  // Folders of chunks that are at work, or were stopped.
  size_t parts = 0;
};
StudyStatus statusOf(const StudyPlan& plan);

// Removes what lies in the folder of unfinished work and was not touched for so long; returns how many.
size_t sweepParts(const StudyPlan& plan, double hours);

}  // namespace tarnvisor
