#include "movie/tagreader.h"

#include <cstdlib>
#include <limits>

namespace tarnvisor {

namespace {

// Tags within tags within tags: deeper ones stay text.
constexpr int32_t kDeepest = 32;

bool linesOf(std::string text, std::string& output, int32_t depth) {
  std::string value;
  bool any = false;
  if (depth > kDeepest) return false;
  while (xmlNext(text, output, depth, value)) {
    any = true;
    if (!linesOf(value, output, depth + 1)) output += value;
  }
  return any;
}

bool drop(std::string& text, std::string& value, const char* why) {
  text.clear();
  value = why;
  return false;
}

// Where the number after a key begins; null without the key.
const char* after(const std::string& text, const std::string& key) {
  const size_t at = text.find(key);
  if (at == std::string::npos) return nullptr;
  const size_t number = at + key.size() + 1;
  return number < text.size() ? text.c_str() + number : "";
}

}  // namespace

bool xmlToText(const std::string& input, std::string& output) {
  const size_t mark = input.find("?>");
  return linesOf(mark == std::string::npos ? input : input.substr(mark + 2), output, 0);
}

bool xmlNext(std::string& text, std::string& output, int32_t depth, std::string& value) {
  const size_t open = text.find('<');
  if (open == std::string::npos) return drop(text, value, "");
  const size_t close = text.find('>', open);
  if (close == std::string::npos) return drop(text, value, "bad xml tag (missing >)");
  const std::string tag = text.substr(open + 1, close - open - 1);
  if (!tag.empty() && tag.back() == '/') {
    text.erase(0, close + 1);
    value.clear();
    return true;
  }
  const size_t blank = tag.find(' ');
  const std::string name = tag.substr(0, blank);
  output += "\n" + std::string(2 * static_cast<size_t>(depth), ' ') + name;
  output += blank == std::string::npos ? "=" : tag.substr(blank);
  const std::string ending = "</" + name + ">";
  const size_t end = text.find(ending, close + 1);
  if (end == std::string::npos) return drop(text, value, "missing end tag");
  value = text.substr(close + 1, end - close - 1);
  text.erase(0, end + ending.size());
  return true;
}

bool xmlInt(const std::string& text, const std::string& key, int32_t& value) {
  const char* number = after(text, key);
  if (!number) return false;
  const long found = std::strtol(number, nullptr, 10);
  using Limits = std::numeric_limits<int32_t>;
  value = found < Limits::min()   ? Limits::min()
          : found > Limits::max() ? Limits::max()
                                  : static_cast<int32_t>(found);
  return true;
}

bool xmlDouble(const std::string& text, const std::string& key, double& value) {
  const char* number = after(text, key);
  if (!number) return false;
  value = std::strtod(number, nullptr);
  return true;
}

}  // namespace tarnvisor
