// The processing commands: each asks for its parameters where there is somebody to ask, copies the image to
// the undo copy, filters the ROI, and adds its words to the notes.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "analysis/blur.h"
#include "analysis/kernelfilter.h"
#include "analysis/laplacian.h"
#include "analysis/lulu.h"
#include "analysis/windowfilter.h"
#include "app/asked.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

void ZBasicDoc::runStep(const std::string& stepText, StepArea area,
                        const std::function<void(CZZimage&)>& step) {
  const WaitScope wait;
  if (area == StepArea::Roi && roiChild()->empty())
    return tellNotDone(stepText, "the region lies outside the image");
  const Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return;
  for (CZZimage* pixels : {theImage(), unrepaired.get()}) {
    if (!pixels) continue;
    if (area == StepArea::Roi)
      step(*pixels->makeChild(roi));
    else
      step(*pixels);
  }
  finishStep(stepText, area);
}

std::string ZBasicDoc::regionSize() const {
  const Rect area = theImage()->clipToImage(roi);
  return format("%i x %i pixels", area.width(), area.height());
}

void ZBasicDoc::tellNotDone(const std::string& stepText, const std::string& why) {
  const std::string words = std::string(trimmed(stepText)) + " not done: " + why;
  appendNotes(words + roiText());
  setModified();
  updateAllViews();
  report(words + ".");
}

// The stored window, or the user's, which is then stored.
bool ZBasicDoc::askWindow(const char* title, const char* key, int32_t standard, int32_t smallest,
                          int32_t& window) {
  window = settings.getInt("WINDOWSZ", key, standard);
  Form form(title);
  form.addNote("The window must be smaller than the region, which is " + regionSize() + ".");
  form.add("window", window, {static_cast<double>(smallest), 1e9, {}}).withUnit("pixels");
  if (!asked(form)) return false;
  settings.setInt("WINDOWSZ", key, window);
  return true;
}

// Filters by a window do nothing in a region that the window doesn't fit into.
bool ZBasicDoc::runWindowStep(const std::string& stepText, int32_t window,
                              const std::function<void(CZZimage&)>& step) {
  const Rect area = theImage()->clipToImage(roi);
  if (!windowFits(window, {area.width(), area.height()})) {
    tellNotDone(stepText,
                format("the window of %i does not fit into the region of %s", window, regionSize().c_str()));
    return false;
  }
  runStep(stepText, StepArea::Roi, step);
  return true;
}

void ZBasicDoc::equalise() {
  runStep(text::kEqualise, StepArea::Roi, [](CZZimage& child) { child.stretch({}); });
}

void ZBasicDoc::negative() {
  runStep(text::kInvert, StepArea::Roi, [](CZZimage& child) { child.invert({}); });
}

void ZBasicDoc::highPass() {
  int32_t window = 0;
  // With a window of 1 a pixel has no others to be compared with.
  if (!askWindow("High pass filter", "whpf", 51, 2, window)) return;
  runWindowStep(format(text::kHighPass, window, window), window,
                [window](CZZimage& child) { windowFilter(child, WindowMode::HighPass, child, {}, window); });
}

// The low pass writes the high pass's words: notes have always read so.
void ZBasicDoc::lowPass() {
  int32_t window = 0;
  if (!askWindow("Low pass filter", "wlpf", 5, 1, window)) return;
  stepCalled = format("Low pass (%ix%i)", window, window);
  runWindowStep(format(text::kHighPass, window, window), window,
                [window](CZZimage& child) { windowFilter(child, WindowMode::LowPass, child, {}, window); });
  stepCalled.clear();
}

void ZBasicDoc::blur() {
  double value = std::strtod(settings.getString("blur", "sigma", "1.0").c_str(), nullptr);
  Form form("Blur");
  form.add("sigma", value, {0.01, 1000, {}}).withUnit("pixels");
  if (!asked(form)) return;
  // The number as people write it, with at least one decimal.
  std::string sigma = format("%.6g", value);
  if (sigma.find_first_of(".e") == std::string::npos) sigma += ".0";
  settings.setString("blur", "sigma", sigma);
  const float radius = std::strtof(sigma.c_str(), nullptr);
  const std::string words = "blur sigma " + sigma;
  const Rect area = theImage()->clipToImage(roi);
  const bool along = blurFits(radius, area.width()), across = blurFits(radius, area.height());
  if (!along && !across) return tellNotDone(words, "it is too wide for the region of " + regionSize());
  const std::string only = along && across ? "" : along ? " along rows only" : " along columns only";
  if (!only.empty())
    host().messages.show("The region of " + regionSize() + " is blurred" + only + ": sigma " + sigma +
                         " is too wide for the other way.");
  runStep(words + only, StepArea::Roi, [radius](CZZimage& child) { gaussianBlur(child, radius); });
}

void ZBasicDoc::laplacian() {
  runStep("Laplacian", StepArea::Roi, [](CZZimage& child) { filter3x3(child, kLaplacianKernel, 1.0, 0); });
}

void ZBasicDoc::customFilter() {
  constexpr const char* kSection = "ProcessingArgs";
  std::array<int32_t, 9> kernel{};
  for (size_t i = 0; i < kernel.size(); ++i) kernel[i] = settings.getInt(kSection, format("custom%zu", i), 0);
  double factor = settings.getDouble(kSection, "customfactor", 1.0);
  int32_t offset = settings.getInt(kSection, "customoffset", 0);
  Form form("Custom filter");
  for (size_t i = 0; i < kernel.size(); ++i) form.add(format("custom%zu", i), kernel[i], {-1e6, 1e6, {}});
  form.add("factor", factor).add("offset", offset);
  if (!asked(form)) return;
  for (size_t i = 0; i < kernel.size(); ++i) settings.setInt(kSection, format("custom%zu", i), kernel[i]);
  settings.setDouble(kSection, "customfactor", factor);
  settings.setInt(kSection, "customoffset", offset);
  runStep("custom filter", StepArea::Roi, [=](CZZimage& child) { filter3x3(child, kernel, factor, offset); });
}

void ZBasicDoc::modifiedLaplacian() {
  runStep("ML", StepArea::Roi, [](CZZimage& child) { tarnvisor::modifiedLaplacian(child); });
}

void ZBasicDoc::sumModifiedLaplacian() {
  int32_t window = 0;
  if (!askWindow("Sum Modified Lapalacian", "wsml", 5, 1, window)) return;
  runWindowStep(format("SML w=%i\r\n", window), window,
                [window](CZZimage& child) { tarnvisor::sumModifiedLaplacian(child, window); });
}

void ZBasicDoc::luluLower() {
  runStep("L3", StepArea::Roi, [](CZZimage& child) { lowerLulu(child); });
}
void ZBasicDoc::luluUpper() {
  runStep("U3", StepArea::Roi, [](CZZimage& child) { upperLulu(child); });
}
// Changes no pixel; only the words are added.
void ZBasicDoc::mlulu() {
  runStep("MLULU", StepArea::Roi, [](CZZimage&) {});
}
void ZBasicDoc::min3x3() {
  runStep("min3x3", StepArea::Roi, [](CZZimage& child) { tarnvisor::min3x3(child); });
}

void ZBasicDoc::adjust() {
  const auto child = roiChild();
  auto original = std::make_unique<CZZimage>();
  if (child->empty()) return;
  if (!original->copyImage(*theImage())) return report("There is not enough memory.");
  const auto before = original->makeChild(roi);
  const double mean = child->meanLevel({});
  const auto start = static_cast<int32_t>(256 - mean);
  int32_t gainPosition = 20;
  int32_t brightnessPosition = start;
  double gain = 1.0;
  double offset = 0.0;
  // The mean of the area stays near its old level as the gain changes.
  const auto takePositions = [&] {
    gain = 0.1 * std::pow(10.0, (40 - gainPosition) * 0.05);
    offset = (1 - gain) * mean + (start - brightnessPosition);
  };
  const auto apply = [&] {
    takePositions();
    child->copyPixels(*before);
    child->linear({}, gain, offset);
    updateAllViews();
  };
  Form form("Adjust brightness/contrast");
  form.add("gain", gainPosition, {0, 40, {}})
      .add("brightness", brightnessPosition, {0, 256, {}})
      .setOnChange(apply);
  if (!asked(form)) {
    child->copyPixels(*before);
    updateAllViews();
    return;
  }
  child->copyPixels(*before);
  takePositions();
  runStep(format(text::kGainAndOffset, gain, offset), StepArea::Roi,
          [=](CZZimage& area) { area.linear({}, gain, offset); });
}

// The whole image, whatever the ROI.
void ZBasicDoc::subtractImage() {
  const auto path = host().choosers.openFile({"Subtract image", text::kImageFilter, "", ""});
  if (!path || path->empty()) return;
  const auto other = std::make_shared<CZZimage>();
  if (!other->load(*path)) {
    report(format("%s\n%s", text::kCouldNotLoadImage, path->c_str()));
    return;
  }
  CZZimage& mine = *theImage();
  if (other->width != mine.width || other->height != mine.height ||
      other->bytesPerPixel != mine.bytesPerPixel) {
    report("The images differ in size or kind.");
    return;
  }
  runStep(" subracted " + fileNameOf(*path), StepArea::Whole,
          [other](CZZimage& whole) { whole.subtract(*other, 0); });
}

void ZBasicDoc::bin() {
  const WaitScope wait;
  Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return;
  if (!image->halve(*change.imageBefore()) || (unrepaired && !unrepaired->halveInPlace())) {
    change.abandon();
    return report("The image can't be made smaller.");
  }
  binMarks();
  finishStep("binned\r\n");
}

// All that is told in pixels follows.
void ZBasicDoc::binMarks() {
  for (CZZimage* pixels : {image.get(), unrepaired.get()}) {
    if (!pixels) continue;
    pixels->xOrigin /= 2;
    pixels->yOrigin /= 2;
  }
  magx *= 2;
  magy *= 2;
  for (auto* lists : {&dimlists, &rejected})
    for (CDimList& list : *lists) list.scale(1, 2);
  target = {target.x / 2, target.y / 2};
  imageoffset = {imageoffset.x / 2, imageoffset.y / 2};
  if (roi.isEmpty()) return;
  // At least a pixel of it remains, and in the image.
  const Rect whole = image->frameRect();
  const int32_t left = std::clamp(roi.left / 2, whole.left, whole.right - 1);
  const int32_t top = std::clamp(roi.top / 2, whole.top, whole.bottom - 1);
  roi = {left, top, std::clamp(roi.right / 2, left + 1, whole.right),
         std::clamp(roi.bottom / 2, top + 1, whole.bottom)};
}

void ZBasicDoc::threshold() {
  int32_t level = settings.getInt("settings", "simpleimagethreshold", 128);
  const auto child = roiChild();
  auto original = std::make_unique<CZZimage>();
  if (child->empty()) return;
  if (!original->copyImage(*theImage())) return report("There is not enough memory.");
  const auto before = original->makeChild(roi);
  const auto apply = [&] {
    child->copyPixels(*before);
    child->threshold({}, level);
    updateAllViews();
  };
  Form form("Threshold");
  form.add("threshold", level, {0, 255, {}}).withUnit("grey levels").setOnChange(apply);
  if (!asked(form)) {
    child->copyPixels(*before);
    updateAllViews();
    return;
  }
  settings.setInt("settings", "simpleimagethreshold", level);
  child->copyPixels(*before);
  runStep(text::kSimpleThreshold, StepArea::Roi, [level](CZZimage& area) { area.threshold({}, level); });
  setColourset(colourset);
}

}  // namespace tarnvisor
