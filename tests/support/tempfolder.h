// A folder that goes with its owner.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/files.h"

namespace tarnvisor {

class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarnvisor-test-XXXXXX").string();
    folder = withSeparator(::mkdtemp(pattern.data()));
  }
  ~TempFolder() {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::string& path() const { return folder; }  // with its separator
  std::string file(const std::string& name) const { return folder + name; }

 private:
  std::string folder;
};

}  // namespace tarnvisor
