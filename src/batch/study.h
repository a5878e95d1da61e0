// tarnvisor-study: a study of many exams in chunks that any engine may run. docs/studies.md tells how.
#pragma once

#include <string>
#include <vector>

namespace tarnvisor {

inline constexpr const char* kStudyProgram = "tarnvisor-study";

// Runs one command of it, arguments without the program's name, and returns the exit code. workstation: the
// path of the workstation's program, whose settings a plan copies where it is given no others.
int runStudy(const std::vector<std::string>& arguments, const std::string& workstation);

}  // namespace tarnvisor
