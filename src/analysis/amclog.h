// The text that a movement correction leaves beside its movie, ending ".amclog.txt": items and commas,
// numbers with one decimal. A run writes some fifty lines an image, so they are gathered and written in
// blocks.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace tarnvisor {

class AmcLog {
 public:
  // Null when the file can't be opened.
  static std::unique_ptr<AmcLog> open(const std::string& path, bool append);
  ~AmcLog();
  AmcLog(const AmcLog&) = delete;
  AmcLog& operator=(const AmcLog&) = delete;

  AmcLog& operator<<(std::string_view text);
  AmcLog& operator<<(int32_t number);
  AmcLog& operator<<(double number);
  void endLine();

 private:
  explicit AmcLog(std::FILE* opened) : stream(opened) {}
  void write();

  std::FILE* stream;
  std::string waiting;
};

}  // namespace tarnvisor
