// Text in columns. The text is read twice, so that no number is kept before its trace is there.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>

#include "base/text.h"
#include "traces/traceimport.h"

namespace tarnvisor {

namespace {

constexpr size_t kMostColumns = 4096;
constexpr size_t kLongestNumber = 400;
constexpr char kBlanks = ' ';
constexpr double kStepTolerance = 0.25;  // of the step: written times are rounded
constexpr double kEvenTolerance = 0.01;  // of the step: beyond it, and beyond rounding, times are uneven
constexpr double kClearly = 1.001;       // the first of what are equal but for rounding counts
constexpr double kRounding = 0.6;        // of the last digit's unit

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Lines that hold something, whatever their ends are.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest(text) {
    if (rest.starts_with("\xef\xbb\xbf")) rest.remove_prefix(3);
  }
  bool next(std::string_view& line) {
    while (!rest.empty()) {
      const size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
      line = rest.substr(0, end);
      const bool pair = rest.substr(end, 2) == "\r\n";
      rest.remove_prefix(std::min(rest.size(), end + (pair ? 2 : 1)));
      ++count;
      if (!std::ranges::all_of(line, isBlank)) return true;
    }
    return false;
  }
  size_t number() const { return count; }

 private:
  std::string_view rest;
  size_t count = 0;
};

// Where a cell ends; a delimiter between its quotes is none.
size_t endOfCell(std::string_view line, char delimiter) {
  const size_t start = line.find_first_not_of(delimiter == '\t' ? " " : " \t");
  const bool isQuoted = start != line.npos && line[start] == '"';
  const size_t plain = line.find(delimiter);
  if (!isQuoted) return plain;
  for (size_t at = start + 1; (at = line.find('"', at)) != line.npos; at += 2)
    if (line.substr(at + 1, 1) != "\"") return line.find(delimiter, at);
  return plain;  // the quotes are left open
}

// Calls back for each cell until one says no. Blanks part cells in runs of any length.
template <class Take>
bool eachCell(std::string_view line, char delimiter, const Take& take) {
  if (delimiter == kBlanks) {
    for (;;) {
      line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
      if (line.empty()) return true;
      const size_t end = std::min(line.find_first_of(" \t"), line.size());
      if (!take(line.substr(0, end))) return false;
      line.remove_prefix(end);
    }
  }
  for (;;) {
    const size_t end = endOfCell(line, delimiter);
    if (!take(trimmed(line.substr(0, end)))) return false;
    if (end == std::string_view::npos) return true;
    line.remove_prefix(end + 1);
  }
}

size_t countCells(std::string_view line, char delimiter) {
  size_t count = 0;
  return eachCell(line, delimiter, [&](std::string_view) { return ++count <= kMostColumns; }), count;
}

bool isQuoted(std::string_view cell) { return cell.size() >= 2 && cell.front() == '"' && cell.back() == '"'; }

// A cell of "nan" says that nothing was measured.
bool parse(std::string_view cell, char delimiter, double& value) {
  const bool quotes = isQuoted(cell);
  if (quotes) cell = trimmed(cell.substr(1, cell.size() - 2));
  if (equalIgnoringCase(cell, "nan")) {
    value = std::numeric_limits<double>::quiet_NaN();
    return true;
  }
  if (cell.starts_with('+')) cell.remove_prefix(1);
  std::array<char, kLongestNumber> own;
  if (cell.empty() || cell.size() > own.size()) return false;
  std::ranges::copy(cell, own.begin());
  if (delimiter != ',' || quotes) std::replace(own.begin(), own.begin() + cell.size(), ',', '.');
  const char* end = own.data() + cell.size();
  const auto [at, error] = std::from_chars(own.data(), end, value);
  return error == std::errc() && at == end && std::isfinite(value);
}

// The power of ten of a number's last digit.
int8_t lastDigitOf(std::string_view cell) {
  if (isQuoted(cell)) cell = cell.substr(1, cell.size() - 2);
  const size_t exponentAt = cell.find_first_of("eE");
  int power = 0;
  if (exponentAt != std::string_view::npos) {
    const std::string_view digits =
        cell.substr(exponentAt + 1 + cell.substr(exponentAt + 1).starts_with('+'));
    std::from_chars(digits.data(), digits.data() + digits.size(), power);
  }
  const std::string_view mantissa = cell.substr(0, exponentAt);
  const size_t point = mantissa.find_first_of(".,");
  if (point != std::string_view::npos) power -= static_cast<int>(mantissa.size() - point - 1);
  return static_cast<int8_t>(std::clamp(power, INT8_MIN, INT8_MAX));
}

bool isNumbers(std::string_view line, char delimiter) {
  bool any = false;
  const bool all = eachCell(line, delimiter, [&](std::string_view cell) {
    double value;
    const bool number = parse(cell, delimiter, value);
    any |= number;
    return number || cell.empty();
  });
  return all && any;
}

// A comma may be the decimal mark of numbers between blanks.
char delimiterOf(std::string_view line) {
  for (const char c : {'\t', ';', ','})
    if (countCells(line, c) > 1 && (c != ',' || isNumbers(line, c))) return c;
  return kBlanks;
}

struct Column {
  std::string name;
  size_t first = 0;  // row
  size_t last = 0;
  size_t count = 0;
};

struct Table {
  char delimiter = kBlanks;
  char decimalMark = 0;  // the first in a number; 0: none yet
  bool hasHeader = false;
  size_t rows = 0;
  size_t cells = 0;  // of the longest row
  std::vector<Column> columns;
  std::vector<double> firstColumn;
  std::vector<int8_t> lastDigits;  // of the first column
  std::string failure;
};

std::string lineWords(size_t number, const char* what) { return format("Line %zu %s.", number, what); }

std::string unquoted(std::string_view name) {
  if (!isQuoted(name)) return std::string(name);
  std::string plain;
  for (size_t at = 1; at + 1 < name.size(); ++at) {
    plain += name[at];
    if (name.substr(at, 2) == "\"\"" && at + 2 < name.size()) ++at;
  }
  return plain;
}

void nameColumns(Table& table, std::string_view header) {
  std::vector<std::string> names;
  eachCell(header, table.delimiter, [&](std::string_view cell) {
    names.push_back(unquoted(cell));
    return names.size() < kMostColumns;
  });
  // Names may hold blanks themselves.
  if (table.delimiter == kBlanks && names.size() != table.columns.size()) {
    if (table.columns.size() == 1) table.columns[0].name = unquoted(trimmed(header));
    return;
  }
  for (size_t i = 0; i < std::min(names.size(), table.columns.size()); ++i) table.columns[i].name = names[i];
}

// Whether a number has the decimal mark of those before it.
bool agreesInMark(Table& table, std::string_view cell) {
  const size_t at = cell.find_first_of(".,");
  if (at == cell.npos) return true;
  if (table.decimalMark == 0) table.decimalMark = cell[at];
  return cell.find(table.decimalMark == '.' ? ',' : '.') == cell.npos;
}

// A lone number with a point among pairs of whole ones says that the commas are no delimiters.
bool isLoneAmongPairs(const Table& table, std::string_view line) {
  return table.delimiter == ',' && table.decimalMark == 0 && table.cells == 2 &&
         line.find(',') == line.npos && line.find('.') != line.npos;
}

bool takeRow(Table& table, std::string_view line, size_t number) {
  size_t column = 0;
  const size_t row = table.rows++;
  const std::string otherMark = lineWords(number, "has another decimal mark than the lines before it");
  if (isLoneAmongPairs(table, line)) {
    table.failure = otherMark;
    return false;
  }
  const bool taken = eachCell(line, table.delimiter, [&](std::string_view cell) {
    const size_t at = column++;
    if (cell.empty()) return true;
    double value = 0;
    if (!agreesInMark(table, cell))
      table.failure = otherMark;
    else if (!parse(cell, table.delimiter, value))
      table.failure = lineWords(number, "holds something that is no number");
    else if (at >= kMostColumns)
      table.failure =
          lineWords(number, format("has too many columns: at most %zu can be read", kMostColumns).c_str());
    if (!table.failure.empty()) return false;
    if (at >= table.columns.size()) table.columns.resize(at + 1);
    Column& own = table.columns[at];
    if (own.count++ == 0) own.first = row;
    own.last = row;
    if (at == 0 && !std::isnan(value)) {
      table.firstColumn.push_back(value);
      table.lastDigits.push_back(lastDigitOf(cell));
    }
    return true;
  });
  table.cells = std::max(table.cells, column);
  return taken;
}

// Commas part columns where there are as many names as cells. Under a single name they are decimal marks.
Outcome settleCommas(Table& table, std::string_view header, std::string_view line, size_t number) {
  const size_t names = countCells(header, ','), cells = countCells(line, ',');
  if (names == 1 && cells == 2)
    table.delimiter = kBlanks;
  else if (cells > names)
    return Outcome::failure(lineWords(
        number, format("has %zu numbers between commas under names of %zu columns", cells, names).c_str()));
  return Outcome::success();
}

Table measureText(std::string_view text) {
  Table table;
  Lines lines(text);
  std::string_view line, header;
  bool found = false;
  for (int tries = 0; tries < 2 && !found && lines.next(line); ++tries) {
    table.delimiter = delimiterOf(line);
    found = isNumbers(line, table.delimiter);
    if (found) break;
    table.hasHeader = true;
    if (tries == 0) header = line;
  }
  if (!found) {
    table.failure = text.find('\0') == text.npos
                        ? "It holds no numbers in columns."
                        : "It is no text, or of an encoding that it doesn't tell: save it as UTF-8.";
    return table;
  }
  do {
    if (table.hasHeader && table.delimiter == ',')
      if (const Outcome settled = settleCommas(table, header, line, lines.number()); !settled) {
        table.failure = settled.why();
        return table;
      }
    if (!takeRow(table, line, lines.number())) return table;
  } while (lines.next(line));
  if (table.hasHeader) nameColumns(table, header);
  if (table.hasHeader && table.delimiter == ',' && countCells(header, ',') > table.cells)
    table.failure = "Line 1 names more columns than there are.";
  return table;
}

// Seconds that a name of a time column counts in, "time (ms)", "Time_ms", "ms"; nothing for other names, and
// for a unit that is not known.
std::optional<double> unitOf(const std::string& name) {
  constexpr const char* kBetween = " \t_/()[],;:";
  std::vector<std::string> words;
  const std::string lower = lowerCase(name);
  for (size_t at = lower.find_first_not_of(kBetween); at != lower.npos;) {
    const size_t end = lower.find_first_of(kBetween, at);
    words.push_back(lower.substr(at, end - at));
    at = end == lower.npos ? end : lower.find_first_not_of(kBetween, end);
  }
  const struct {
    std::initializer_list<const char*> names;
    double seconds;
  } units[] = {
      {{"s", "sec", "secs", "second", "seconds"}, 1.0},
      {{"ms", "msec", "millisec", "millisecond", "milliseconds"}, 1e-3},
      {{"us", "usec", "\u00b5s", "\u03bcs", "\u00b5sec", "\u03bcsec", "microsecond", "microseconds"}, 1e-6},
      {{"min", "minute", "minutes"}, 60.0},
      {{"h", "hour", "hours"}, 3600.0}};
  constexpr const char* kTimes[] = {"t", "time", "times", "zeit", "temps", "tempo", "tiempo"};
  const bool isTime = !words.empty() && std::ranges::find(kTimes, words[0]) != std::end(kTimes);
  if (words.size() != (isTime ? 2u : 1u))
    return isTime && words.size() == 1 ? std::optional(1.0) : std::nullopt;
  for (const auto& row : units)
    if (std::ranges::find(row.names, words.back()) != row.names.end()) return row.seconds;
  return std::nullopt;
}

// By how much a written time may be off for its digits.
double roundingOf(const Table& table, size_t row) {
  return kRounding * std::pow(10.0, table.lastDigits[row]);
}

// The constant step of values that rise; 0 for none. What is named as time may be off by its rounding too.
double stepOf(const Table& table, bool isNamedTime) {
  const std::vector<double>& values = table.firstColumn;
  const size_t rows = table.rows;
  if (values.size() != rows || rows < 2) return 0.0;
  const double step = (values.back() - values.front()) / static_cast<double>(rows - 1);
  if (!(std::isfinite(step) && step > 0)) return 0.0;
  for (size_t i = 0; i < rows; ++i) {
    const double off = std::abs(values[i] - (values[0] + static_cast<double>(i) * step));
    if (off > std::max(kStepTolerance * step, isNamedTime ? roundingOf(table, i) : 0.0)) return 0.0;
  }
  return step;
}

// The line that lies nearest to values that rise.
struct EvenLine {
  double start = 0, step = 0;
};

EvenLine evenLineOf(const std::vector<double>& values) {
  const double middle = static_cast<double>(values.size() - 1) / 2;
  double sum = 0, moment = 0, weight = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    const double at = static_cast<double>(i) - middle;
    sum += values[i];
    moment += at * values[i];
    weight += at * at;
  }
  const double step = moment / weight;
  return {sum / static_cast<double>(values.size()) - middle * step, step};
}

bool isEven(const Table& table, const EvenLine& line) {
  for (size_t i = 0; i < table.rows; ++i) {
    const double off = std::abs(table.firstColumn[i] - (line.start + static_cast<double>(i) * line.step));
    if (off > std::max(kEvenTolerance * line.step, roundingOf(table, i))) return false;
  }
  return true;
}

// What has to be asked about times whose steps differ by more than rounding, or that it makes the same; empty
// where nothing has.
std::string questionAboutTimes(const Table& table, bool takenAsEven, bool isNamedTime) {
  const std::vector<double>& times = table.firstColumn;
  if (!(takenAsEven || isNamedTime) || table.columns.size() < 2 || table.rows < 3) return {};
  const char* taken = takenAsEven ? "Take them as even all the same?" : "Take them as a trace of their own?";
  if (times.size() != table.rows) return isNamedTime ? std::string("The times have gaps. ") + taken : "";
  const auto still = std::ranges::adjacent_find(times, std::greater_equal<>());
  if (still != times.end())
    return format("The times don't rise: row %td has no later one than the row before. ",
                  still - times.begin() + 2) +
           taken;
  const EvenLine line = evenLineOf(times);
  if (isEven(table, line)) return {};
  std::vector<double> steps(table.rows);
  std::adjacent_difference(times.begin(), times.end(), steps.begin());
  std::vector<double> inOrder(steps.begin() + 1, steps.end());
  const auto middle = inOrder.begin() + static_cast<std::ptrdiff_t>(inOrder.size() / 2);
  std::ranges::nth_element(inOrder, middle);
  const double usual = *middle;
  size_t worst = 1;
  for (size_t i = 2; i < table.rows; ++i)
    if (std::abs(steps[i] - usual) > kClearly * std::abs(steps[worst] - usual)) worst = i;
  return format("The times are uneven: row %zu comes %g after the row before, the others about %g. ",
                worst + 1, steps[worst], usual) +
         taken;
}

// Pairs of numbers with a comma between may as well be one with its decimals.
std::string questionAboutCommas(const Table& table, const CTextSettings& settings) {
  const bool mayBeDecimals = table.delimiter == ',' && !table.hasHeader && table.cells == 2 &&
                             table.decimalMark == 0 && settings.columnDelimiter() != ",";
  return mayBeDecimals
             ? "Each line holds two numbers with a comma between them. Take them as two columns? (Where "
               "the commas are decimal marks, give the column a name in the first line.)"
             : "";
}

struct TimeColumn {
  bool present = false;
  bool known = false;  // gives period and start
  double start = 0.0;
  double period = 1.0;
};

TimeColumn timeOf(const Table& table, const CTextSettings& settings) {
  TimeColumn time;
  if (table.columns.empty()) return time;
  const auto unit = unitOf(table.columns[0].name);
  const double step = stepOf(table, unit.has_value());
  if (table.columns.size() < 2 || step == 0) return time;
  const bool mayBeTime = settings.xscaled == 2 || (settings.xscaled == 1 && table.columns[0].name.empty());
  if (!unit && !mayBeTime) return time;
  time.present = true;
  const double period = step * unit.value_or(1.0);
  if (settings.xscaled == 2 || !(std::isnormal(period))) return time;
  time.known = true;
  time.period = period;
  time.start = table.firstColumn[0] * unit.value_or(1.0);
  return time;
}

ZZTrace::Own traceOf(const Column& column, const TimeColumn& time) {
  auto trace = std::make_unique<CTrace>(kDoubleCode, static_cast<uint32_t>(column.last - column.first + 1));
  if (!trace->data) return nullptr;
  std::fill_n(static_cast<double*>(trace->data->dataat(0)), trace->size(),
              std::numeric_limits<double>::quiet_NaN());
  trace->name = column.name;
  trace->period = trace->pixelperiod = time.period;
  if (time.known) trace->xunits = "seconds";
  const double start = std::round((time.start + static_cast<double>(column.first) * time.period) * 1000);
  if (std::abs(start) <= INT32_MAX) trace->starttime = static_cast<int32_t>(start);
  return trace;
}

void fill(std::string_view text, const Table& table, std::vector<double*>& targets) {
  Lines lines(text);
  std::string_view line;
  if (table.hasHeader) lines.next(line);
  for (size_t row = 0; lines.next(line); ++row) {
    size_t column = 0;
    eachCell(line, table.delimiter, [&](std::string_view cell) {
      const size_t at = column++;
      double value = 0;
      if (at < targets.size() && targets[at] && parse(cell, table.delimiter, value))
        targets[at][row - table.columns[at].first] = value;
      return true;
    });
  }
}

// One row after the other with nothing else between them than between columns.
std::optional<std::string> linesOfOneRow(std::string_view text, const CTextSettings& settings) {
  const std::string delimiter = settings.columnDelimiter();
  while (!text.empty() && (text.back() == '\r' || text.back() == '\n')) text.remove_suffix(1);
  if (settings.rowdelim != 3 || delimiter.empty() || text.find_first_of("\r\n") != std::string_view::npos)
    return std::nullopt;
  return replaced(std::string(text), delimiter[0], '\n');
}

}  // namespace

Imported importText(std::string_view text, const std::string& name, const CTextSettings& settings) {
  const auto utf8 = recoded(text);
  if (utf8) text = *utf8;
  const auto column = linesOfOneRow(text, settings);
  if (column) text = *column;
  Table table = measureText(text);
  if (!table.failure.empty()) return {{}, table.failure};
  const TimeColumn time = timeOf(table, settings);
  Imported result;
  const bool isNamedTime = unitOf(table.columns[0].name).has_value() && time.present == time.known;
  result.question = questionAboutTimes(table, time.known, isNamedTime);
  if (result.question.empty()) result.question = questionAboutCommas(table, settings);
  table.firstColumn = {};
  table.lastDigits = {};
  std::vector<double*> targets(table.columns.size());
  const size_t last = table.columns.size() - (time.present ? 1 : 0);
  for (size_t i = time.present ? 1 : 0; i < table.columns.size(); ++i) {
    Column& own = table.columns[i];
    if (own.count == 0) continue;
    if (own.name.empty())
      own.name = last == 1 ? name : format("%s %zu", name.c_str(), i + (time.present ? 0 : 1));
    ZZTrace::Own trace = traceOf(own, time);
    if (!trace) return {{}, kLowMemory};
    targets[i] = static_cast<double*>(trace->data->dataat(0));
    result.traces.push_back(std::move(trace));
  }
  fill(text, table, targets);
  return result;
}

}  // namespace tarnvisor
