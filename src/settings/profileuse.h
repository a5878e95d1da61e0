// Runs beside one another: each keeps its settings to itself.
#pragma once

#include <string>

#include "base/outcome.h"

namespace tarnvisor {

// A profile file is one run's own for as long as this lives; a second run is told that it isn't. The mark is
// a file beside the profile, which goes with it. Where none can be made the profile can't be written either,
// and the run has it for reading. An empty path claims nothing.
class ProfileClaim {
 public:
  explicit ProfileClaim(const std::string& profilePath);
  ~ProfileClaim();
  ProfileClaim(const ProfileClaim&) = delete;
  ProfileClaim& operator=(const ProfileClaim&) = delete;
  bool isOurs() const { return ours; }

 private:
  std::string mark;
  int handle = -1;
  bool ours = true;
};

// From here on settings are read from and written to a copy; the profile that was selected stays as it is.
[[nodiscard]] Outcome workOnCopy(const std::string& copyPath);

}  // namespace tarnvisor
