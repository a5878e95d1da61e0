// The profile: a small text file of sections, keys and values, read when a value is needed and written when
// it changes. Nothing is cached: every call opens the file by name. A missing file, section or key gives the
// default; a write that can't be made is lost silently.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarnvisor {

class CSettingsFile {
 public:
  // Sections and keys match without regard to case. Reads give at most this many characters of a value.
  static constexpr size_t kLongestValue = 249;

  CSettingsFile() = default;
  explicit CSettingsFile(std::string filePath) : file(std::move(filePath)) {}

  void setPath(std::string filePath) { file = std::move(filePath); }
  const std::string& path() const { return file; }

  // The value as a signed decimal integer; a value that doesn't begin with a number gives 0.
  int32_t getInt(const std::string& section, const std::string& key, int32_t missing) const;
  // The default passes through the text form, so it comes back rounded to six decimals.
  double getDouble(const std::string& section, const std::string& key, double missing) const;
  std::string getString(const std::string& section, const std::string& key, const std::string& missing) const;

  // All that is set, by section and key in small letters and in their order.
  struct Entry {
    std::string section, key, value;
    auto operator<=>(const Entry&) const = default;
  };
  std::vector<Entry> entries() const;

  // Writing keeps all other lines and their order. The file is replaced in one step, so a second program that
  // reads or writes at the same moment never sees half of it.
  void setInt(const std::string& section, const std::string& key, int32_t value);
  void setUnsigned(const std::string& section, const std::string& key, uint32_t value);
  void setDouble(const std::string& section, const std::string& key, double value);
  void setString(const std::string& section, const std::string& key, const std::string& value);

  // All of them in one step; numbers in the form that the single ones are written in.
  void set(const std::vector<Entry>& values);
  static Entry entryOf(std::string section, std::string key, int32_t value);
  static Entry entryOf(std::string section, std::string key, double value);

 private:
  std::string file;
};

// The profile and what belongs to the machine. Process-wide; their paths are set by the profile selection.
extern CSettingsFile settings;
extern CSettingsFile hwSettings;

}  // namespace tarnvisor
