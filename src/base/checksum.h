// Checksums that tell whether two things are the same.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace tarnvisor {

std::string sha256(std::string_view bytes);  // 64 digits, a to f small

// The same of bytes that come one after the other.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;
  void add(std::string_view bytes);
  std::string digits();  // once, at the end

 private:
  struct State;
  std::unique_ptr<State> state;
};

}  // namespace tarnvisor
