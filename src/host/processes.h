// The port for other programs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarnvisor {

class Processes {
 public:
  virtual ~Processes() = default;
  // Starts a program with its arguments, without a shell, and waits for its end. The first is its path, or a
  // name that is looked for in the folders of PATH. The exit code; -1 when it could not be started or was
  // killed.
  virtual int32_t run(const std::vector<std::string>& programAndArguments) = 0;
};

// Starts real programs. Standard input is empty; output goes to this program's.
class SystemProcesses final : public Processes {
 public:
  int32_t run(const std::vector<std::string>& programAndArguments) override;
};

}  // namespace tarnvisor
