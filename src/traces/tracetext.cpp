#include "traces/tracetext.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <streambuf>
#include <vector>

#include "base/files.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr double kMostRows = 1e8;
constexpr size_t kBlock = size_t{1} << 16;
// A multiple of a period may come out just below the sample that it means.
constexpr double kNudge = 1e-6;
constexpr const char* kNoReading = "nan";

bool isDrawable(const ZZTrace& trace) {
  return trace.data && trace.data->size > 0 && std::isfinite(trace.period) && trace.period > 0;
}

double startOf(const ZZTrace& trace) { return trace.starttime * 0.001; }
double endOf(const ZZTrace& trace) { return startOf(trace) + trace.period * trace.data->size; }

using Traces = std::span<const ZZTrace* const>;

// The one trace of an export is written though it be hidden.
std::vector<const ZZTrace*> shownOf(Traces traces) {
  std::vector<const ZZTrace*> shown;
  for (const ZZTrace* trace : traces)
    if (trace && (traces.size() == 1 || !trace->hidden)) shown.push_back(trace);
  return shown;
}

// Every stride-th moment from `first` up to `last` of the trace that is sampled most often, counted from its
// start.
struct Lines {
  int64_t first = 0, last = 0, stride = 1;
  double start = 0, period = 0;
  int64_t count() const { return last > first ? (last - first - 1) / stride + 1 : 0; }
  double timeOf(int64_t line) const { return start + static_cast<double>(line) * period; }
};

// The first sample at a time or after it, counted from the trace's start.
double ageFrom(const ZZTrace& trace, double seconds) {
  return std::ceil((seconds - startOf(trace)) / trace.period - kNudge);
}

Outcome settleLines(Traces traces, const ExportRange& range, Lines& lines) {
  const ZZTrace* finest = nullptr;
  double start = HUGE_VAL, end = -HUGE_VAL;
  for (const ZZTrace* trace : traces) {
    if (!isDrawable(*trace)) continue;
    if (!finest || trace->period < finest->period) finest = trace;
    start = std::min(start, startOf(*trace));
    end = std::max(end, endOf(*trace));
  }
  if (!finest) return Outcome::failure("There are no samples to export.");
  if (!range.whole) start = range.from, end = range.to;
  const double stride = range.whole ? 1 : std::floor(range.secondsPerColumn / finest->period + kNudge);
  const double first = ageFrom(*finest, start), last = ageFrom(*finest, end);
  if (!(last > first)) return Outcome::failure("There are no samples to export.");
  if (!((last - first) / std::max(stride, 1.0) <= kMostRows && std::abs(first) < 1e15 &&
        std::abs(last) < 1e15))
    return Outcome::failure(range.whole ? "The traces' periods differ too much for one table."
                                        : "That is too much for one table.");
  lines = {static_cast<int64_t>(first), static_cast<int64_t>(last),
           static_cast<int64_t>(std::clamp(stride, 1.0, 1e15)), startOf(*finest), finest->period};
  return Outcome::success();
}

std::string nameFor(std::string name, const CTextSettings& settings) {
  const std::string column = settings.columnDelimiter();
  for (char& c : name)
    if (c == '\r' || c == '\n' || (!column.empty() && c == column[0])) c = '_';
  return name;
}

uint32_t columnsOf(const ZZTrace& trace) { return trace.data ? std::max<uint32_t>(1, trace.data->width) : 1; }

// Cells of a row with delimiters between.
class Row {
 public:
  Row(std::string& target, std::string delimiter) : text(target), between(std::move(delimiter)) {}
  std::string& next() {
    if (!first) text += between;
    first = false;
    return text;
  }
  // Where nothing was measured. Among blanks an empty cell would not be seen.
  void skip() {
    std::string& cell = next();
    if (between == " ") cell += kNoReading;
  }
  bool isEmpty() const { return text.find_first_not_of(between, start) == text.npos; }
  // A line of nothing would not be counted as one.
  void end(const std::string& lineEnd) {
    if (isEmpty()) text.insert(start, kNoReading);
    text += lineEnd;
  }

 private:
  std::string& text;
  std::string between;
  size_t start = text.size();
  bool first = true;
};

// So many digits that times of a row and the next differ enough to show an even step, and where it begins.
CTextSettings forTimes(const CTextSettings& settings, const Lines& lines) {
  constexpr double kHalfADigit = 0.69, kHundredth = 2, kNearlyWhole = 1e-6;
  CTextSettings times = settings;
  if (settings.xscaled == 2) return times;
  const double step = lines.period * static_cast<double>(lines.stride);
  const double ahead = lines.start / step;
  const bool isWhole = std::abs(ahead - std::round(ahead)) < kNearlyWhole;
  const double rows =
      std::max({1.0, std::abs(lines.timeOf(lines.first)) / step, std::abs(lines.timeOf(lines.last)) / step});
  const double digits = settings.format != 1 ? std::log10(rows) + kHundredth
                        : step < 1           ? (isWhole ? kHalfADigit : kHundredth) - std::log10(step)
                                             : (isWhole ? 0 : kHundredth);
  times.precision = std::max(times.precision, static_cast<int32_t>(std::min(std::ceil(digits), 30.0)));
  return times;
}

bool isSeconds(const std::string& unit) { return unit.empty() || unit == "s" || unit == "seconds"; }

std::string withUnit(const std::string& name, const std::string& unit) {
  std::string head = unit.empty() ? name : name + " (" + unit + ")";
  for (char& c : head)
    if (c == '\r' || c == '\n') c = '_';
  return csvCell(head);
}

void appendHeader(std::string& text, std::span<const ZZTrace* const> traces, const CTextSettings& settings) {
  Row row(text, settings.columnDelimiter());
  const std::string along = traces.front()->xunits;
  if (settings.xscaled != 0)
    row.next() += !settings.unitsInHeads  ? nameFor(along, settings)
                  : settings.xscaled == 2 ? std::string("sample")
                  : isSeconds(along)      ? "time (s)"
                                          : csvCell(along);
  for (const ZZTrace* trace : traces) {
    row.next() +=
        settings.unitsInHeads ? withUnit(trace->name, trace->yunits) : nameFor(trace->name, settings);
    for (uint32_t i = 1; i < columnsOf(*trace); ++i) row.next();
  }
  text += settings.rowDelimiter();
}

void appendValues(Row& row, const ZZTrace& trace, double seconds, const CTextSettings& settings) {
  uint32_t index = 0;
  const bool found = sampleAt(trace, seconds, index);
  const bool rows = dynamic_cast<const C2DTrace*>(&trace) != nullptr;
  const bool scaled = (rows ? settings.zscaled : settings.yscaled) != 0;
  for (uint32_t column = 0; column < columnsOf(trace); ++column) {
    const double raw = !found ? trace.absent : rows ? trace.data->at(index, column) : trace.data->at(index);
    if (!found || trace.isAbsent(raw))
      row.skip();
    else
      settings.appendNumber(row.next(), scaled ? trace.displayed(raw) : raw);
  }
}

Outcome exportText(std::ostream& file, std::span<const ZZTrace* const> traces, const CTextSettings& settings,
                   const ExportRange& range) {
  Lines lines;
  if (Outcome settled = settleLines(traces, range, lines); !settled) return settled;
  const std::string delimiter = settings.columnDelimiter(), lineEnd = settings.rowDelimiter();
  const double samplesAhead = std::ceil(lines.start / lines.period - kNudge);
  const CTextSettings times = forTimes(settings, lines);
  std::string text;
  if (settings.headers) appendHeader(text, traces, settings);
  for (int64_t i = lines.first; i < lines.last && file; i += lines.stride) {
    Row row(text, delimiter);
    const double seconds = lines.timeOf(i);
    if (settings.xscaled != 0)
      times.appendNumber(row.next(), settings.xscaled == 2 ? samplesAhead + static_cast<double>(i) : seconds);
    for (const ZZTrace* trace : traces) appendValues(row, *trace, seconds, settings);
    row.end(lineEnd);
    if (text.size() < kBlock) continue;
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  return Outcome::success();
}

struct Ages {
  int64_t first, last;
};

// The samples of a trace that lie in a range.
Ages agesIn(const ZZTrace& trace, const ExportRange& range) {
  const int64_t size = trace.data->size;
  if (range.whole) return {0, size};
  const auto ageAt = [&](double seconds) {
    const double age = ageFrom(trace, seconds);
    return static_cast<int64_t>(std::isnan(age) ? 0.0 : std::clamp(age, 0.0, static_cast<double>(size)));
  };
  return {ageAt(range.from), ageAt(range.to)};
}

Outcome exportBinary(std::ostream& file, std::span<const ZZTrace* const> traces,
                     const CTextSettings& settings, const ExportRange& range) {
  const ZZTrace::BinarySettings binary{settings.headers != 0, settings.swapbytes != 0};
  bool any = false;
  for (const ZZTrace* trace : traces) {
    if (!isDrawable(*trace)) continue;
    const int64_t size = trace->data->size;
    const auto [first, last] = agesIn(*trace, range);
    if (first >= last) continue;
    any = true;
    const bool all = first == 0 && last == size;
    const int64_t from = all ? -1 : (trace->origin + first) % size;
    const int64_t to = all ? -1 : (trace->origin + last) % size;
    if (!trace->exportbin(file, binary, from, to)) break;
  }
  return any ? Outcome::success() : Outcome::failure("There are no samples to export.");
}

// A stream's bytes on their way to the file that is being made.
class FileBuffer final : public std::streambuf {
 public:
  explicit FileBuffer(AtomicFile& target) : file(target) {}

 protected:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    return file.write(bytes, static_cast<size_t>(count)) ? count : 0;
  }
  int_type overflow(int_type c) override {
    const char byte = traits_type::to_char_type(c);
    return file.write(&byte, 1) ? c : traits_type::eof();
  }

 private:
  AtomicFile& file;
};

}  // namespace

bool sampleAt(const ZZTrace& trace, double seconds, uint32_t& index) {
  if (!isDrawable(trace)) return false;
  // indexof doesn't wrap: the samples behind the ring's end are found one turn earlier, and an index whose
  // time is another one belongs to the other end.
  const double turn = trace.period * trace.data->size;
  const double wanted = seconds + trace.period * kNudge;
  for (const double time : {wanted, wanted - turn}) {
    uint32_t found = 0;
    if (!trace.indexof(time, found) || found >= trace.data->size) continue;
    const double past = (seconds - trace.timeof(found)) / trace.period;
    if (!(past > -2 * kNudge && past < 1)) continue;
    index = found;
    return true;
  }
  return false;
}

CTextSettings CTextSettings::asCsv() const {
  CTextSettings csv = *this;
  csv.binary = 0;
  csv.headers = 1;
  csv.coldelim = 1;
  csv.rowdelim = 2;
  csv.yscaled = csv.zscaled = 1;
  if (csv.xscaled == 0) csv.xscaled = 1;
  csv.unitsInHeads = true;
  return csv;
}

Outcome exportTraces(std::ostream& file, std::span<const ZZTrace* const> traces,
                     const CTextSettings& settings, const ExportRange& range) {
  const std::vector<const ZZTrace*> shown = shownOf(traces);
  if (shown.empty()) return Outcome::failure("There is no trace to export.");
  return settings.binary ? exportBinary(file, shown, settings, range)
                         : exportText(file, shown, settings, range);
}

ExportedRows exportedRows(std::span<const ZZTrace* const> traces, const CTextSettings& settings,
                          const ExportRange& range) {
  const std::vector<const ZZTrace*> shown = shownOf(traces);
  ExportedRows rows;
  if (settings.binary) {
    for (const ZZTrace* trace : shown) {
      if (!isDrawable(*trace)) continue;
      const auto [first, last] = agesIn(*trace, range);
      rows.written += std::max<int64_t>(0, last - first);
      rows.all += trace->data->size;
    }
    return rows;
  }
  Lines lines, all;
  if (!settleLines(shown, range, lines) || !settleLines(shown, {}, all)) return rows;
  all.stride = lines.stride;
  return {lines.count(), all.count()};
}

Outcome exportTraces(const std::string& path, std::span<const ZZTrace* const> traces,
                     const CTextSettings& settings, const ExportRange& range) {
  AtomicFile file(path);
  if (!file.isOpen()) return file.commit();
  FileBuffer buffer(file);
  std::ostream stream(&buffer);
  if (Outcome done = exportTraces(stream, traces, settings, range); !done) return done;
  return file.commit();
}

}  // namespace tarnvisor
