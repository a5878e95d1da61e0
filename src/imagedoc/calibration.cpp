#include "imagedoc/calibration.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "base/lengthunits.h"
#include "base/text.h"
#include "framework/sidepanel.h"
#include "framework/view.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "measure/dimcircle.h"
#include "measure/dimpolygon.h"
#include "measure/dimrect.h"

namespace tarnvisor {

namespace {

// A mark that a length can be told of: no count, no vessel that was found, no area.
bool isLine(const CDim& mark) {
  return mark.points.size() > 1 && !dynamic_cast<const CDimCircle*>(&mark) &&
         !dynamic_cast<const CDimPolygon*>(&mark) && !dynamic_cast<const CDimRect*>(&mark);
}

// The lines of a list by their numbers from 1, those that calibrated it before first.
std::vector<int32_t> linesOf(const CDimList& dims) {
  std::vector<int32_t> lines;
  for (int32_t i = 0; i < dims.size(); ++i)
    if (isLine(dims.at(i))) lines.push_back(i + 1);
  std::stable_partition(lines.begin(), lines.end(), [&](int32_t line) {
    return dims.at(line - 1).label.starts_with(text::kCalibrationLabel);
  });
  return lines;
}

// The line that is selected in a view, the first of all lines where none is.
int32_t chosenLine(const ZBasicDoc& document, const std::vector<int32_t>& lines) {
  for (const auto& view : document.views())
    for (const int32_t line : lines)
      if (SidePanel* marks = view->sidePanel(); marks && marks->isSelected(static_cast<size_t>(line - 1)))
        return line;
  return lines.empty() ? 0 : lines[0];
}

// A form shows ten digits: a length that was offered and left leaves the size what it is.
double sizeOf(double length, double offered, double pixels, double present) {
  if (pixels == 0) return 0;
  return std::abs(length - offered) <= 1e-9 * offered ? present : length / pixels;
}

}  // namespace

Calibration::Calibration(const ZBasicDoc& document)
    : name(document.magname),
      doc(document),
      dims(document.currentDims()),
      lines(linesOf(dims)),
      line(chosenLine(document, lines)),
      unit(document.userunits) {
  x.line = lines.empty() ? 0 : lines[0];
  y.line = lines.size() > 1 ? lines[1] : x.line;
  offeredX = x.line;
  offeredY = y.line;
  // Without a scale no length is known, so that none is offered.
  if (doc.calibrated) std::tie(x.offered, y.offered) = lengths(doc.scale().x, doc.scale().y);
  x.length = x.offered;
  y.length = y.offered;
}

bool Calibration::hasLine(int32_t number) const {
  return dims.isValid(number - 1) && isLine(dims.at(number - 1));
}

std::pair<double, double> Calibration::lengths(double sizeX, double sizeY) const {
  const auto along = [&](const Axis& axis, auto part) {
    if (!dims.isValid(axis.line - 1)) return 0.0;
    return x.line == y.line ? part(axis.line - 1) : dims.length(axis.line - 1, sizeX, sizeY);
  };
  return {along(x, [&](int32_t place) { return dims.lengthX(place, sizeX); }),
          along(y, [&](int32_t place) { return dims.lengthY(place, sizeY); })};
}

// In the document's unit; 0 where the unit told is none of length.
double Calibration::inUnits(double length) const {
  if (unit == doc.userunits) return length;
  const double to = micrometresOf(doc.userunits);
  return to > 0 ? length * micrometresOf(unit) / to : 0;
}

Calibration::Measured Calibration::measure() const {
  Measured found{x, y};
  if (toldSize > 0 || takesOneLine()) {
    found.size = inUnits(toldSize > 0 ? toldSize : knownLength);
    if (!(found.size > 0))
      found.problem = format("A length in \"%s\" is none in %s, the unit of this image.", unit.c_str(),
                             doc.userunits.c_str());
    if (!found.problem.empty() || toldSize > 0) return found;
    found.x = found.y = {line, std::exchange(found.size, 0), 0};
  }
  for (const Axis* axis : {&found.x, &found.y})
    if (dims.isValid(axis->line - 1) && !hasLine(axis->line))
      found.problem = format("Number %i is no line: calibrate by a line of known length.", axis->line);
  if (!found.problem.empty()) return found;
  if (takesOneLine())
    found.pixelsX = found.pixelsY = hasLine(line) ? dims.length(line - 1, 1, 1) : 0;
  else
    std::tie(found.pixelsX, found.pixelsY) = lengths(1, 1);
  // Another line's length was offered for no line of this number.
  if (x.line != offeredX || y.line != offeredY) found.x.offered = found.y.offered = 0;
  if (found.pixelsX == 0 && found.pixelsY == 0)
    found.problem = "Nothing is measured: the lines have no length, or there are no such lines.";
  for (const auto& [axis, pixels] : {std::pair{found.y, found.pixelsY}, {found.x, found.pixelsX}})
    if (pixels != 0 && !(axis.length > 0))
      found.problem = format("The true length of line %i is not told: it must be above 0.", axis.line);
  return found;
}

Scale Calibration::pixelSize() const {
  const Measured found = measure();
  if (found.size > 0) return {found.size, found.size};
  const double alongX = sizeOf(found.x.length, found.x.offered, found.pixelsX, doc.magx);
  const double alongY = sizeOf(found.y.length, found.y.offered, found.pixelsY, doc.magy);
  // An axis along which nothing was measured keeps a scale that it has; otherwise pixels are square.
  const double sizeX = alongX != 0 ? alongX : doc.calibrated ? doc.magx : alongY;
  return {sizeX, alongY != 0 ? alongY : sizeX};
}

std::vector<int32_t> Calibration::measuredLines() const {
  const Measured found = measure();
  std::vector<int32_t> places;
  if (found.pixelsX != 0) places.push_back(found.x.line - 1);
  if (found.pixelsY != 0) places.push_back(found.y.line - 1);
  return places;
}

std::string Calibration::presentLength() const {
  if (hasLine(line)) return format("%.1f pixels", dims.length(line - 1, 1, 1));
  return lines.empty() ? "no line is drawn yet" : "there is no line of this number";
}

bool Calibration::ask() {
  const Limits length{.low = 0, .wrong = "A length must be above 0."};  // without a high end no slider
  std::string present = presentLength();
  Form form("Calibrate");
  form.addNote("By a line that you drew along something of known length:");
  form.add("Line", line).addReading("It is long", present).add("Known length", knownLength, length);
  form.add("Unit", unit).offering({"um", "mm"}).addCheck("Both axes at once", bothAxes);
  form.addNote("Or, where the microscope's scale is known, without a line:");
  form.add("Size of a pixel", toldSize, length).withUnit("of this unit").beginningHere(lines.empty());
  form.addNote("Or, where pixels are not square, by a line along each axis:");
  form.addNote(
      "Create two dimension lines of known true length onto image.  Magnification will be calibrated automatically.");
  form.add("X line", x.line).add("X true length", x.length, length).withUnit(doc.userunits);
  form.add("Y line", y.line).add("Y true length", y.length, length).withUnit(doc.userunits);
  form.add("Name", name).addCheck("Set as default maginification for new images.", asDefault);
  form.setOnChange([&] { present = presentLength(); }).setCheck([this] { return problem(); });
  return host().forms.run(form);
}

}  // namespace tarnvisor
