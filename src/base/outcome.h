// The result of something that may fail: success, or the reason in words that can be shown to a user.
#pragma once

#include <string>
#include <utility>

namespace tarnvisor {

class [[nodiscard]] Outcome {
 public:
  static Outcome success() { return {}; }
  static Outcome failure(std::string why) {
    Outcome o;
    o.failed = true;
    o.words = std::move(why);
    return o;
  }
  explicit operator bool() const { return !failed; }
  // Empty on success.
  const std::string& why() const { return words; }

 private:
  bool failed = false;
  std::string words;
};

}  // namespace tarnvisor
