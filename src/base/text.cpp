#include "base/text.h"

#include <glib.h>

#include <algorithm>
#include <array>
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

bool isSameName(std::string_view a, std::string_view b) { return foldedName(a) == foldedName(b); }

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lowered);
  return result;
}

namespace {

void appendCharacter(std::string& text, uint32_t code) {
  std::array<char, 6> bytes;
  text.append(bytes.data(), static_cast<size_t>(g_unichar_to_utf8(code, bytes.data())));
}

// Half of a pair of its own counts as a character that can't be read.
std::string ofUtf16(std::string_view bytes, bool bigEndian) {
  const auto unitAt = [&](size_t at) -> uint32_t {
    const auto a = static_cast<uint8_t>(bytes[at]), b = static_cast<uint8_t>(bytes[at + 1]);
    return bigEndian ? a << 8 | b : b << 8 | a;
  };
  constexpr uint32_t kUnreadable = 0xfffd;
  std::string text;
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    uint32_t code = unitAt(at);
    if (code >= 0xd800 && code < 0xe000) {
      const uint32_t second = code < 0xdc00 && at + 3 < bytes.size() ? unitAt(at + 2) : 0;
      const bool pair = second >= 0xdc00 && second < 0xe000;
      code = pair ? 0x10000 + ((code - 0xd800) << 10 | (second - 0xdc00)) : kUnreadable;
      if (pair) at += 2;
    }
    appendCharacter(text, code);
  }
  return text;
}

}  // namespace

std::optional<std::string> recoded(std::string_view text) {
  if (text.starts_with("\xff\xfe")) return ofUtf16(text.substr(2), false);
  if (text.starts_with("\xfe\xff")) return ofUtf16(text.substr(2), true);
  if (g_utf8_validate_len(text.data(), text.size(), nullptr)) return std::nullopt;
  std::string own;
  own.reserve(text.size());
  for (const char c : text)
    if (static_cast<uint8_t>(c) < 0x80)
      own += c;
    else
      appendCharacter(own, static_cast<uint8_t>(c));
  return own;
}

std::string withoutMark(std::string text) {
  if (text.starts_with("\xef\xbb\xbf")) return text.substr(3);
  if (text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff")) return recoded(text).value_or("");
  return text;
}

std::string joined(const std::vector<std::string>& parts, std::string_view between) {
  std::string all;
  for (const std::string& part : parts) all.append(&part == &parts.front() ? "" : between).append(part);
  return all;
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
