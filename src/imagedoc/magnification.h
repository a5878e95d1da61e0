// The table of known scales, one entry for each objective or camera set-up, kept in the settings: section
// "mag%1i" by section number for each entry, and the entry for new images in section "settings".
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

struct MagnificationEntry {
  double magx = 1.0;  // user units per pixel
  double magy = 1.0;
  std::string magname;
  int64_t magdate = 0;  // seconds since 1970
};

// A pixel's size that can be measured with. NaN is none.
inline bool isScale(double value) { return value >= 1e-9 && value <= 1e9; }

inline constexpr int32_t MAXMAGS = 500;  // sections from here on are never read

// What is missing, and a stored number that is no scale, keeps the value that the caller's entry holds.
void readDefaultMagnification(MagnificationEntry& entry);
void writeDefaultMagnification(const MagnificationEntry& entry);
// Section numbers only grow; removing leaves a gap.
void addMagnification(const MagnificationEntry& entry);
int32_t magnificationCount();
// index counts live entries only. False (and logged) when there is none: the entry is then unchanged.
[[nodiscard]] bool readMagnification(int32_t index, MagnificationEntry& entry);
bool removeMagnification(int32_t index);
// "%8.3f %8.3f %-25s %s": x, y, name and long date.
std::string magnificationLine(const MagnificationEntry& entry);

}  // namespace tarnvisor
