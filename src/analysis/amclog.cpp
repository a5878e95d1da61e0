#include "analysis/amclog.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "settings/log.h"

namespace tarnvisor {

namespace {
constexpr size_t kBlock = 1 << 16;
}

std::unique_ptr<AmcLog> AmcLog::open(const std::string& path, bool append) {
  std::FILE* stream = std::fopen(path.c_str(), append ? "ae" : "we");
  return std::unique_ptr<AmcLog>(stream ? new AmcLog(stream) : nullptr);
}

AmcLog::~AmcLog() {
  write();
  const bool failed = std::ferror(stream) != 0;
  if (std::fclose(stream) != 0 || failed) logPrintf("amclog incomplete: %s\n", std::strerror(errno));
}

void AmcLog::write() {
  std::fwrite(waiting.data(), 1, waiting.size(), stream);
  waiting.clear();
}

AmcLog& AmcLog::operator<<(std::string_view text) {
  waiting += text;
  return *this;
}

AmcLog& AmcLog::operator<<(int32_t number) {
  std::array<char, 12> place;
  waiting.append(place.data(), std::to_chars(place.data(), place.data() + place.size(), number).ptr);
  return *this;
}

AmcLog& AmcLog::operator<<(double number) {
  std::array<char, 320> place;  // the longest is a sign, 309 digits, a point and one more
  waiting.append(
      place.data(),
      std::to_chars(place.data(), place.data() + place.size(), number, std::chars_format::fixed, 1).ptr);
  return *this;
}

void AmcLog::endLine() {
  waiting += '\n';
  if (waiting.size() >= kBlock) write();
}

}  // namespace tarnvisor
