#include "exams/subjectdirectory.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <numeric>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

using std::chrono::day, std::chrono::month, std::chrono::sys_days, std::chrono::year,
    std::chrono::year_month_day;

// Days since 1970 of a date that is one.
std::optional<int64_t> dayNumber(int y, int m, int d) {
  const year_month_day date{year(y), month(static_cast<unsigned>(m)), day(static_cast<unsigned>(d))};
  if (!date.ok()) return std::nullopt;
  return sys_days(date).time_since_epoch().count();
}

constexpr int kOldest = 1850;
constexpr int64_t kSecondsOfDay = 86400;

std::string germanDate(const std::string& born) {
  return born.size() == 10 ? born.substr(8, 2) + "." + born.substr(5, 2) + "." + born.substr(0, 4)
                           : std::string();
}

}  // namespace

std::optional<std::string> dateOfBirth(const std::string& typed) {
  const std::string text(trimmed(typed));
  if (text.empty()) return text;
  int y = 0, m = 0, d = 0, end = 0;
  const bool isRead = (std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &y, &m, &d, &end) == 3 ||
                       std::sscanf(text.c_str(), "%2d.%2d.%4d%n", &d, &m, &y, &end) == 3) &&
                      static_cast<size_t>(end) == text.size();
  const auto number = isRead && y >= kOldest && m > 0 && d > 0 ? dayNumber(y, m, d) : std::nullopt;
  if (!number || *number * kSecondsOfDay > currentTime()) return std::nullopt;
  return format("%04d-%02d-%02d", y, m, d);
}

const std::vector<std::string>& sexes() {
  static const std::vector<std::string> kept{"", "f", "m", "x"};
  return kept;
}

std::string fullNameOf(const std::optional<SubjectRow>& subject) {
  return subject ? std::string(trimmed(subject->name + " " + subject->surname)) : std::string();
}

std::string sexInWords(const std::string& sex) {
  return sex == "f" ? "female" : sex == "m" ? "male" : sex == "x" ? "other" : sex;
}

int64_t secondsOf(const std::string& utc) {
  int y = 0, m = 0, d = 0, hour = 0, minute = 0, second = 0;
  if (std::sscanf(utc.c_str(), "%4d-%2d-%2d %2d:%2d:%2d", &y, &m, &d, &hour, &minute, &second) != 6) return 0;
  const auto number = m > 0 && d > 0 ? dayNumber(y, m, d) : std::nullopt;
  return number ? *number * kSecondsOfDay + hour * 3600 + minute * 60 + second : 0;
}

std::string localDay(const std::string& utc) {
  const int64_t seconds = secondsOf(utc);
  if (!seconds) return utc;
  const LocalTime there = localTime(seconds);
  return format("%04d-%02d-%02d", there.year, there.month + 1, there.day);
}

std::string localMinute(const std::string& utc) {
  const int64_t seconds = secondsOf(utc);
  if (!seconds) return utc;
  const LocalTime there = localTime(seconds);
  return localDay(utc) + format(" %02d:%02d", there.hour, there.minute);
}

const std::vector<std::string>& SubjectDirectory::columns() {
  static const std::vector<std::string> names{"Id", "Surname", "First name", "Born", "Sex", "Last exam"};
  return names;
}

void SubjectDirectory::read() {
  rows.clear();
  if (const SubjectDatabase* db = theApp().db.get())
    for (SubjectSummary& subject : db->summaries()) {
      const std::string& born = subject.person.born;
      std::string sought = foldedName(subject.id + "\n" + subject.surname + "\n" + subject.name + "\n" +
                                      born + "\n" + germanDate(born));
      rows.push_back({std::move(subject), std::move(sought)});
    }
  arrange();
}

void SubjectDirectory::filter(const std::string& words) {
  wanted = foldedName(words);
  arrange();
}

void SubjectDirectory::sort(size_t column, bool descending) {
  sortedBy = column;
  descends = descending;
  arrange();
}

void SubjectDirectory::arrange() {
  shown.clear();
  std::vector<std::string> words = split(wanted, ' ');
  std::erase(words, "");
  for (size_t i = 0; i < rows.size(); ++i)
    if (std::ranges::all_of(words,
                            [&](const auto& word) { return rows[i].sought.find(word) != std::string::npos; }))
      shown.push_back(i);
  if (!sortedBy) return;
  std::vector<std::string> keys(rows.size());
  for (const size_t i : shown) keys[i] = foldedName(cellOf(rows[i], *sortedBy));
  std::ranges::stable_sort(
      shown, [&](size_t a, size_t b) { return descends ? keys[b] < keys[a] : keys[a] < keys[b]; });
}

std::string SubjectDirectory::cellOf(const Row& row, size_t column) {
  const SubjectSummary& s = row.subject;
  switch (column) {
    case 0:
      return s.id;
    case 1:
      return s.surname;
    case 2:
      return s.name;
    case 3:
      return s.person.born;
    case 4:
      return sexInWords(s.person.sex);
    default:
      return s.lastExam.empty() ? std::string() : localDay(s.lastExam);
  }
}

int SubjectDirectory::find(const std::string& id) const {
  const auto at = std::ranges::find_if(shown, [&](size_t i) { return rows[i].subject.id == id; });
  return at == shown.end() ? -1 : static_cast<int>(at - shown.begin());
}

}  // namespace tarnvisor
