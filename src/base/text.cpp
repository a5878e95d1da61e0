#include "base/text.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace tarnvisor {

namespace {
char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
}  // namespace

std::string formatList(const char* pattern, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, pattern, arguments);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, pattern, again);
  }
  va_end(again);
  return text;
}

std::string format(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  std::string text = formatList(pattern, arguments);
  va_end(arguments);
  return text;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowered(x) == lowered(y); });
}

namespace {
// What is no UTF-8 keeps its other letters as they are.
std::string foldedName(std::string_view text) {
  const auto length = static_cast<gssize>(text.size());
  if (!g_utf8_validate(text.data(), length, nullptr)) return lowerCase(text);
  using Text = std::unique_ptr<char, decltype(&g_free)>;
  const Text whole(g_utf8_normalize(text.data(), length, G_NORMALIZE_DEFAULT), g_free);
  const Text folded(g_utf8_casefold(whole.get(), -1), g_free);
  const Text result(g_utf8_normalize(folded.get(), -1, G_NORMALIZE_DEFAULT), g_free);
  return result.get();
}
}  // namespace

bool isSameName(std::string_view a, std::string_view b) { return foldedName(a) == foldedName(b); }

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lowered);
  return result;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string replaced(std::string text, char from, char to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

std::string filledIn(std::string message, std::string_view text) {
  for (size_t at = message.find("%1"); at != std::string::npos; at = message.find("%1", at + text.size()))
    message.replace(at, 2, text);
  return message;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const size_t at = text.find(separator);
    parts.emplace_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

std::string csvCell(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + "\"";
}

bool endsWithIgnoringCase(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() && equalIgnoringCase(text.substr(text.size() - ending.size()), ending);
}

}  // namespace tarnvisor
