#include "remote/ftplisting.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <tuple>

#include "base/text.h"

namespace tarnvisor {

namespace {

// Takes the next word off a line.
std::string_view nextWord(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
  const std::string_view word = rest.substr(0, rest.find_first_of(" \t"));
  rest.remove_prefix(word.size());
  return word;
}

bool isNumber(std::string_view word, int64_t& value) {
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return error == std::errc() && stop == word.data() + word.size() && value >= 0;
}

bool isMonth(std::string_view word) {
  constexpr std::string_view kMonths = "janfebmaraprmayjunjulaugsepoctnovdec";
  const size_t at = word.size() == 3 ? kMonths.find(lowerCase(word)) : kMonths.npos;
  return at != kMonths.npos && at % 3 == 0;
}

// "-rw-r--r-- 1 owner group 1234 Jan 31 12:00 name": the owner, the group or both may be left out.
std::optional<RemoteEntry> ofLs(std::string_view rest) {
  constexpr size_t kRights = 10;
  const std::string_view rights = nextWord(rest);
  if (rights.size() < kRights || std::string_view("-dl").find(rights[0]) == std::string_view::npos) return {};
  RemoteEntry entry;
  entry.isFolder = rights[0] == 'd';
  int64_t size = -1;
  for (std::string_view word = nextWord(rest); !isMonth(word); word = nextWord(rest)) {
    if (word.empty()) return {};
    if (!isNumber(word, size)) size = -1;
  }
  if (nextWord(rest).empty() || nextWord(rest).empty() || rest.size() < 2) return {};  // day, time or year
  rest.remove_prefix(1);
  const bool isLink = rights[0] == 'l';
  entry.name = rest.substr(0, isLink ? rest.find(" -> ") : rest.npos);
  if (!entry.isFolder && !isLink) entry.size = size;
  return entry;
}

// "01-31-24  12:00PM  <DIR>  name", a size in place of "<DIR>" for a file.
std::optional<RemoteEntry> ofDir(std::string_view rest) {
  const std::string_view date = nextWord(rest), time = nextWord(rest), what = nextWord(rest);
  if (date.size() < 8 || date.find_first_not_of("0123456789-/.") != date.npos || time.find(':') == time.npos)
    return {};
  RemoteEntry entry;
  entry.isFolder = what == "<DIR>";
  if (!entry.isFolder && !isNumber(what, entry.size)) return {};
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
  entry.name = rest;
  return entry;
}

}  // namespace

std::vector<RemoteEntry> parseFtpListing(std::string_view text) {
  std::vector<RemoteEntry> entries;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    auto entry = ofLs(line);
    if (!entry) entry = ofDir(line);
    if (entry && !entry->name.empty() && entry->name != "." && entry->name != "..")
      entries.push_back(std::move(*entry));
  }
  std::ranges::stable_sort(entries, [](const RemoteEntry& a, const RemoteEntry& b) {
    return std::tuple(!a.isFolder, std::string_view(a.name)) <
           std::tuple(!b.isFolder, std::string_view(b.name));
  });
  return entries;
}

}  // namespace tarnvisor
