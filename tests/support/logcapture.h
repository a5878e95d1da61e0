// The log, in a file of its own for as long as this stands.
#pragma once

#include "settings/log.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {

class LogCapture {
 public:
  LogCapture() : before(logFile()) {
    setLogFile(folder.file("log"));
    setLogging(true);
  }
  ~LogCapture() {
    setLogging(false);
    setLogFile(before);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  std::string text() const { return readWholeText(folder.file("log")).value_or(""); }

 private:
  TempFolder folder;
  std::string before;
};

}  // namespace tarnvisor
