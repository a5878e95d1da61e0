#include "settings/log.h"

#include <sys/sysinfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tarnvisor {

namespace {
bool logging = false;
std::string logPath = "zz.log";

// The value in bytes of a line such as "MemAvailable:  123 kB".
uint64_t memoryLine(const std::string& name) {
  std::ifstream lines("/proc/meminfo");
  for (std::string line; std::getline(lines, line);)
    if (line.rfind(name + ":", 0) == 0)
      return std::strtoull(line.c_str() + name.size() + 1, nullptr, 10) << 10;
  return 0;
}

// What this process has mapped.
uint64_t mappedBytes() {
  std::ifstream sizes("/proc/self/statm");
  uint64_t pages = 0;
  sizes >> pages;
  return pages * static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
}

unsigned long kilobytes(uint64_t bytes) { return static_cast<unsigned long>(bytes >> 10); }
}  // namespace

const char* logPrintf(const char* pattern, ...) {
  if (!logging) return pattern;
  std::FILE* file = std::fopen(logPath.c_str(), "ae");
  if (!file) return pattern;
  va_list arguments;
  va_start(arguments, pattern);
  std::vfprintf(file, pattern, arguments);
  va_end(arguments);
  std::fclose(file);
  return pattern;
}

void setLogging(bool on) { logging = on; }
bool isLogging() { return logging; }
void setLogFile(std::string path) { logPath = std::move(path); }
const std::string& logFile() { return logPath; }

MemoryStatus memoryStatus() {
  MemoryStatus status;
  status.totalPhysical = memoryLine("MemTotal");
  status.availablePhysical = memoryLine("MemAvailable");
  if (status.totalPhysical > 0)
    status.loadPercent =
        static_cast<uint32_t>(100 * (status.totalPhysical - status.availablePhysical) / status.totalPhysical);
  status.totalVirtual = uint64_t{1} << 47;  // the part of the address space that a process has
  status.availableVirtual = status.totalVirtual - mappedBytes();
  return status;
}

void writeMemoryReport() {
  const MemoryStatus status = memoryStatus();
  logPrintf("physical %luKB\n", kilobytes(status.totalPhysical));
  logPrintf("available %luKB\n", kilobytes(status.availablePhysical));
  logPrintf("load %lu %%\n", static_cast<unsigned long>(status.loadPercent));
  logPrintf("virtual %luKB %%\n", kilobytes(status.totalVirtual));
  logPrintf("used virtual %luKB %%\n", kilobytes(status.totalVirtual - status.availableVirtual));
}

}  // namespace tarnvisor
