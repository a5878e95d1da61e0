#include "movie/tagreader.h"

#include <cstdlib>
#include <limits>
#include <string_view>

namespace tarnvisor {

namespace {

// Tags within tags within tags: deeper ones stay text.
constexpr int32_t kDeepest = 32;

bool drop(std::string_view& text, std::string_view& value, std::string_view why) {
  text = {};
  value = why;
  return false;
}

bool nextTag(std::string_view& text, std::string& output, int32_t depth, std::string_view& value) {
  const size_t open = text.find('<');
  const size_t close = text.find('>', open);
  if (open == text.npos || close == text.npos) return drop(text, value, "bad xml tag (missing >)");
  const std::string_view tag = text.substr(open + 1, close - open - 1);
  if (tag.ends_with('/')) {
    text.remove_prefix(close + 1);
    value = {};
    return true;
  }
  const size_t blank = tag.find(' ');
  const std::string_view name = tag.substr(0, blank);
  output.append("\n").append(2 * static_cast<size_t>(depth), ' ').append(name);
  output += blank == tag.npos ? "=" : tag.substr(blank);
  const std::string ending = "</" + std::string(name) + ">";
  const size_t end = text.find(ending, close + 1);
  if (end == text.npos) return drop(text, value, "missing end tag");
  value = text.substr(close + 1, end - close - 1);
  text.remove_prefix(end + ending.size());
  return true;
}

bool linesOf(std::string_view text, std::string& output, int32_t depth) {
  std::string_view value;
  bool any = false;
  if (depth > kDeepest) return false;
  while (nextTag(text, output, depth, value)) {
    any = true;
    if (!linesOf(value, output, depth + 1)) output += value;
  }
  return any;
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
  return linesOf(std::string_view(input).substr(mark == std::string::npos ? 0 : mark + 2), output, 0);
}

bool xmlNext(std::string& text, std::string& output, int32_t depth, std::string& value) {
  std::string_view rest = text, found;
  const bool any = nextTag(rest, output, depth, found);
  value = found;
  text.erase(0, text.size() - rest.size());
  return any;
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
