// The ids of the commands of subjects and exams. Numbers under 34000 are known to users' scripts and to
// other programs; none ever changes, and no other command gets one that was used. New ones continue after
// the highest of all rooms.
#pragma once

#include <cstdint>

#include "app/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t ProcessResults = 32956;
inline constexpr int32_t AcquisitionChain = 32970;
inline constexpr int32_t ViewExams = 33051;
inline constexpr int32_t ExamsOfSubject = 34212;
inline constexpr int32_t CourseOfResults = 34213;
inline constexpr int32_t ExamReport = 34270;
inline constexpr int32_t NewExamination = 34272;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd
