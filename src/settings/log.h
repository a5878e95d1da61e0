// The log: free text, appended. Each call opens the file, prints and closes it, so that a crash loses
// nothing.
#pragma once

#include <cstdint>
#include <string>

#include "base/text.h"

namespace tarnvisor {

// Appends to the log once logging is on; a file that can't be opened is passed over. Returns its format.
// Nothing is added: a line's end is part of the format.
const char* logPrintf(const char* pattern, ...) TARNVISOR_PRINTF(1, 2);

void setLogging(bool on);  // off until the settings have been read
bool isLogging();
void setLogFile(std::string path);  // "zz.log" before the profile is selected
const std::string& logFile();

struct MemoryStatus {  // all in bytes, except the load
  uint64_t totalPhysical = 0;
  uint64_t availablePhysical = 0;
  uint32_t loadPercent = 0;
  uint64_t totalVirtual = 0;
  uint64_t availableVirtual = 0;
};
MemoryStatus memoryStatus();
// The five memory lines of the log's start.
void writeMemoryReport();

}  // namespace tarnvisor
