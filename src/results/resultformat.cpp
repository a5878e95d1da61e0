#include "results/resultformat.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <iterator>
#include <utility>

#include "archive/archive.h"
#include "base/text.h"

namespace tarnvisor {

std::string examLabel(const ResultOwner& owner) {
  const std::string number = owner.exam >= 0 ? std::to_string(owner.exam) : std::string();
  return owner.isElsewhere && !owner.folder.empty() ? number + " in " + owner.folder : number;
}

ResultRecord recordOf(const ResultTable& table, std::string filename, std::string units,
                      const std::vector<NamedValue>& values) {
  ResultRecord record{std::move(filename), std::move(units), {}};
  record.values.resize(table.columns.size() - 2);
  for (const NamedValue& named : values) {
    const auto at = std::ranges::find_if(
        table.columns.subspan(2), [&](const ColumnRecord& column) { return column.title == named.column; });
    assert(at != table.columns.end());
    if (at != table.columns.end())
      record.values[static_cast<size_t>(at - table.columns.begin() - 2)] = named.value;
  }
  return record;
}

Ccolformat::Ccolformat(const ColumnRecord& r)
    : column(r.column),
      visible(r.visible),
      title(r.title),
      width(r.width),
      fieldwidth(r.fieldwidth),
      decimals(r.decimals) {}

const ArchiveClass& Ccolformat::archiveClass() {
  static const ArchiveClass record{"Ccolformat", 0, nullptr, [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<Ccolformat>());
                                   }};
  return record;
}

void Ccolformat::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.putWord(column);
    archive.putWord(visible);
    archive.writeString(title);
    for (const uint16_t value : {width, fieldwidth, decimals}) archive.putWord(value);
    return;
  }
  column = archive.getWord();
  visible = archive.getWord();
  title = archive.readString();
  for (uint16_t* value : {&width, &fieldwidth, &decimals}) *value = archive.getWord();
}

namespace {

// A field from a damaged file is no reason for megabytes of blanks.
constexpr int kWidest = 64;
constexpr int kMostDecimals = 20;

// Adds one to the last digit of a decimal text.
void roundUp(std::string& digits) {
  for (size_t i = digits.size(); i-- > 0;) {
    if (digits[i] == '.' || digits[i] == '-') continue;
    if (digits[i] != '9') {
      ++digits[i];
      return;
    }
    digits[i] = '0';
  }
  digits.insert(digits[0] == '-' ? 1 : 0, 1, '1');
}

}  // namespace

std::string resultNumber(double value, int width, int decimals) {
  width = std::clamp(width, 0, kWidest);
  decimals = std::clamp(decimals, 0, kMostDecimals);
  std::string text = format("%.*f", decimals, value);
  if (std::isfinite(value)) {
    // Every double has an exact decimal text; a tie is one whose rest is a 5 and nothing more.
    const std::string exact = format("%.1080f", value);
    const size_t cut = exact.find('.') + 1 + static_cast<size_t>(decimals);
    if (exact[cut] == '5' && exact.find_first_not_of('0', cut + 1) == std::string::npos) {
      text = exact.substr(0, decimals > 0 ? cut : cut - 1);
      roundUp(text);
    }
  }
  return text.size() < static_cast<size_t>(width)
             ? std::string(static_cast<size_t>(width) - text.size(), ' ') + text
             : text;
}

std::string smallNumber(double value, int decimals) {
  const bool isLost = decimals > 0 && value != 0 && std::isfinite(value) &&
                      resultNumber(value, 0, decimals).find_first_not_of("-0.") == std::string::npos;
  return isLost ? format("%.3g", value) : std::string();
}

}  // namespace tarnvisor
