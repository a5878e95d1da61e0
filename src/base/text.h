// Text helpers. Strings are 8-bit text in the system's code page; nothing here knows of characters wider than
// a byte, and nothing depends on the locale.
#pragma once

#include <cstdarg>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnvisor {

#if defined(__GNUC__)
#define TARNVISOR_PRINTF(formatIndex, firstArgument) \
  __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define TARNVISOR_PRINTF(formatIndex, firstArgument)
#endif

// printf into a string of any length.
std::string format(const char* pattern, ...) TARNVISOR_PRINTF(1, 2);
std::string formatList(const char* pattern, va_list arguments);

// Equality and folding for the ASCII letters only.
bool equalIgnoringCase(std::string_view a, std::string_view b);
std::string lowerCase(std::string_view text);
// Whether people read both as one name: in UTF-8, whatever the capitals of any alphabet, and whether accents
// are letters' own or follow them. For ids and sites; endings, keys and commands are ASCII.
bool isSameName(std::string_view a, std::string_view b);
// What such names have in common, to look for one within another.
std::string foldedName(std::string_view text);

// Text of other programs as UTF-8: UTF-16 by the mark that it begins with; what is no UTF-8 counts as
// Latin-1. Nothing when it is UTF-8 as it stands.
std::optional<std::string> recoded(std::string_view text);
// Text that may begin with a mark: UTF-16 as UTF-8, and UTF-8 without it. Else as it stands.
std::string withoutMark(std::string text);

std::string_view trimmed(std::string_view text);
std::string joined(const std::vector<std::string>& parts, std::string_view between);
std::string replaced(std::string text, char from, char to);
// Replaces every "%1" in a message by the text.
std::string filledIn(std::string message, std::string_view text);
// Parts between separators; an empty text has one empty part.
std::vector<std::string> split(std::string_view text, char separator);
// A cell of comma-separated text: in quotes, its own doubled, where it holds a comma, a quote or a line end.
std::string csvCell(const std::string& text);
bool endsWithIgnoringCase(std::string_view text, std::string_view ending);

}  // namespace tarnvisor
