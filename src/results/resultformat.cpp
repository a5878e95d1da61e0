#include "results/resultformat.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "archive/archive.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr ColumnRecord kImage[] = {{0, 1, "filename", 20, 0, 0},
                                   {1, 1, "units", 6, 0, 0},
                                   {2, 1, "ROI w", 8, 7, 1},
                                   {3, 1, "ROI h", 8, 7, 1},
                                   {4, 1, "ROI area", 10, 7, 0},
                                   {5, 1, "Av. Level", 9, 7, 2},
                                   {6, 1, "min", 5, 4, 0},
                                   {7, 1, "max", 5, 4, 0},
                                   {8, 1, "list", 5, 2, 0},
                                   {9, 1, "N", 4, 4, 0},
                                   {10, 1, "total L", 9, 7, 1},
                                   {11, 1, "Av. L", 8, 7, 1},
                                   {12, 1, "total Area", 12, 11, 0},
                                   {13, 1, "Av. Area", 9, 9, 1},
                                   {14, 1, "density (%)", 13, 12, 2},
                                   {15, 1, "Count density", 15, 8, 3},
                                   {16, 1, "Dim count density", 21, 8, 3},
                                   {17, 1, "Linear density", 15, 8, 3},
                                   {18, 1, "Tortuosity0", 11, 8, 3},
                                   {19, 1, "Tortuosity1", 11, 8, 4},
                                   {20, 1, "Tort1 curves", 12, 8, 3}};
constexpr ColumnRecord kVoronoi[] = {
    {0, 1, "filename", 20, 0, 0}, {1, 1, "units", 6, 0, 0},     {2, 1, "ROI w", 8, 7, 1},
    {3, 1, "ROI h", 8, 7, 1},     {4, 1, "ROI area", 10, 7, 0}, {5, 1, "#caps", 6, 4, 0},
    {6, 1, "density", 8, 6, 2},   {7, 1, "#regions", 9, 7, 0},  {8, 1, "Av Area", 9, 8, 1},
    {9, 1, "#NN", 5, 4, 0},       {10, 1, "Av NN", 8, 7, 1},    {11, 1, "Av Krogh", 10, 9, 1}};
constexpr ColumnRecord kDiameter[] = {{0, 1, "filename", 20, 0, 0},
                                      {1, 1, "units", 6, 0, 0},
                                      {2, 1, "line", 5, 5, 0},
                                      {3, 1, "width", 8, 7, 1}};
constexpr ColumnRecord kNailfold[] = {
    {0, 1, "filename", 20, 0, 0},    {1, 1, "units", 6, 0, 0},       {2, 1, "line", 5, 5, 0},
    {3, 1, "apex width", 10, 7, 1},  {4, 1, "loop width", 10, 7, 1}, {5, 1, "left width", 10, 7, 1},
    {6, 1, "right width", 10, 7, 1}, {7, 1, "x", 8, 7, 2},           {8, 1, "y", 8, 7, 2},
    {9, 1, "density", 8, 7, 2},      {10, 1, "fit", 8, 7, 3},        {11, 1, "cord", 8, 7, 2}};
constexpr ColumnRecord kFlow[] = {
    {0, 1, "filename", 20, 0, 0}, {1, 1, "units", 6, 0, 0},    {2, 1, "width", 8, 7, 2},
    {3, 1, "height", 8, 7, 2},    {4, 1, "area", 10, 7, 0},    {5, 1, "FCF", 8, 7, 3},
    {6, 1, "FCD (%)", 8, 7, 3},   {7, 1, "flux", 8, 7, 3},     {8, 1, "conc", 8, 7, 3},
    {9, 1, "threshold", 8, 7, 1}, {10, 1, "rms av.", 8, 7, 3}, {11, 1, "rms area", 9, 8, 3}};
// In record order; what is shown follows the first numbers.
constexpr ColumnRecord kCapillary[] = {
    {9, 1, "filename", 40, 0, 0}, {10, 1, "units", 6, 0, 0},   {0, 1, "line", 5, 3, 0},
    {6, 1, "length", 8, 7, 2},    {1, 1, "diameter", 9, 7, 2}, {2, 1, "velocity", 9, 7, 0},
    {3, 1, "flow", 9, 7, 0},      {4, 1, "x", 6, 5, 1},        {5, 1, "y", 6, 5, 1},
    {7, 1, "av r", 10, 5, 2},     {8, 1, "%good", 10, 5, 1}};
constexpr ColumnRecord kChart[] = {
    {0, 1, "filename", 20, 0, 0}, {1, 1, "trace", 15, 0, 0},    {2, 1, "start", 10, 10, 2},
    {3, 1, "end", 10, 10, 2},     {4, 1, "average", 10, 10, 2}, {5, 1, "max", 10, 10, 2},
    {6, 1, "min", 10, 10, 2},     {7, 1, "% used", 10, 10, 0},  {8, 1, "Sum", 11, 11, 1}};
constexpr ColumnRecord kLinescan[] = {{0, 1, "filename", 40, 0, 0}, {1, 1, "trace", 40, 0, 0},
                                      {2, 1, "line", 5, 5, 0},      {3, 1, "x", 10, 7, 3},
                                      {4, 1, "dx", 10, 7, 3},       {5, 1, "dy", 10, 7, 3},
                                      {6, 1, "velocity", 10, 7, 3}, {7, 1, "average", 10, 7, 3}};

const ResultTable kTables[kResultKinds] = {{11038, "Image Results", kImage},
                                           {0, "Voronoi-Results", kVoronoi},
                                           {11023, "Diameter Calculation Results", kDiameter},
                                           {11066, "Nailfold Capillary loop measurements", kNailfold},
                                           {11029, "Functional Capillary Flow and Density Results", kFlow},
                                           {11113, "Capillary Measurement Results", kCapillary},
                                           {11016, "Chart Results", kChart},
                                           {11112, "Linescan slope velocities", kLinescan}};

}  // namespace

const ResultTable& resultTable(ResultKind kind) { return kTables[static_cast<size_t>(kind)]; }

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

}  // namespace tarnvisor
