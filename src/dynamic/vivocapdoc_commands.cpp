// The command table, and the commands that ask before they act.
#include <algorithm>
#include <cmath>

#include "analysis/laplacian.h"
#include "analysis/lulu.h"
#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "dynamic/commandids.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/timetext.h"
#include "host/host.h"
#include "image/palette.h"
#include "imagedoc/texts.h"
#include "settings/settings.h"

namespace tarnvisor {

const CommandTableBase& CVivoCapDoc::commandTable() {
  using D = CVivoCapDoc;
  static const CommandTable<D> table(
      {
          {cmd::FileSave, "&Save", &D::saveVideo},
          {cmd::FileSaveAs, "Save &As...", &D::saveVideoAs},
          {cmd::Threshold, "&Simple threshold", &D::simpleThreshold, &D::canFilterMovie, {.asks = true}},
          {cmd::MergeFields,
           "&Merge into frames",
           &D::mergeFields,
           &D::isFieldMovie,
           {.tip = "Merge fields",
            .status = "Makes a movie whose images are whole frames of two fields each."}},
          {cmd::SplitFields,
           "&Split images into fields",
           &D::splitFields,
           &D::isFrameMovie,
           {.tip = "Split into fields", .status = "Makes a movie whose images are single fields."}},
          {cmd::SwitchFieldOrder,
           "S&witch field order",
           &D::switchFieldOrder,
           &D::hasMovie,
           {.tip = "Switch field order", .status = "Exchanges the two fields of each frame."}},
          {cmd::SwitchLines,
           "Sw&itch lines",
           &D::switchLines,
           &D::hasMovie,
           {.tip = "Switch lines", .status = "Exchanges each pair of rows."}},
          {cmd::SubtractTrace,
           "&Subtract trace",
           &D::subtractTrace,
           &D::canFilterMovie,
           {.tip = "Subtract trace",
            .status = "Takes a trace's changes off the brightness of the images.",
            .asks = true}},
          {cmd::SquareOfDifferences,
           "S&quare of differences",
           &D::squareOfDifferences,
           &D::canFilterMovie,
           {.tip = "Square of differences",
            .status = "Makes a movie of each image's squared differences to the one before."}},
          {cmd::SquareOfDifferencesToCurrent,
           "Square of &differences to current image",
           &D::squareOfDifferencesToCurrent,
           &D::canFilterMovie,
           {.tip = "Square of differences to this image",
            .status = "Makes a movie of each image's squared differences to the current one."}},
          {cmd::DeleteSelectedImages,
           "&Delete selected images",
           &D::deleteSelected,
           &D::hasPart,
           {.tip = "Delete selected images", .status = "Makes a movie without the selected images."}},
          {cmd::DeleteOtherImages,
           "&Delete nonselected images",
           &D::deleteOthers,
           &D::hasPart,
           {.tip = "Delete nonselected images", .status = "Makes a movie of the selected images alone."}},
          {cmd::DuplicateImage, "Duplicate image in new window", &D::duplicateImage, &D::hasMovie},
          {cmd::AverageSequence,
           "Average &whole sequence",
           &D::averageCommand,
           &D::hasMovie,
           {.tip = "Average",
            .status = "Opens the mean of the selected images as a new image.",
            .keys = "Ctrl+Shift+A",
            .icon = "average"}},
          {cmd::AverageInFocus,
           "Average all in focus",
           &D::averageInFocusCommand,
           &D::hasMovie,
           {.tip = "average all best focused images",
            .status = "Opens the mean of the sharpest image of each area as a new image.",
            .asks = true}},
          {cmd::FocusCheck,
           "Focus check video",
           &D::focusCheck,
           &D::hasMovie,
           {.tip = "plot focus and focusness of video (needs embeded focus)",
            .status = "Opens a chart of the focus and the offset of the selected images."}},
          {cmd::ColourPlanes,
           "&Colour &Planes to RGB",
           &D::colourPlanes,
           &D::canFilterMovie,
           {.tip = "Colour planes to RGB",
            .status = "Makes a colour movie of images that hold their three planes one above the other."}},
          {cmd::ConvertToGrey, "Convert to &grey", &D::toGrey, &D::isColourMovie},
          {cmd::Bin, "&Bin", &D::noCommand, &D::never},
          {cmd::GoToVersion,
           "&Go to version...",
           &D::goToVersionCommand,
           &D::hasVersions,
           {.tip = "Go to version",
            .status = "Shows the movie as it was before or after another pass.",
            .whyOff = text::kNoVersions}},
          {cmd::CompareVersion,
           "&Compare with version...",
           &D::compareVersionCommand,
           &D::hasVersions,
           {.tip = "Compare with version",
            .status = "Opens another version of the movie in a window beside this one.",
            .whyOff = text::kNoVersions}},
          {cmd::DeleteVersion,
           "&Delete version...",
           &D::deleteVersionCommand,
           &D::hasVersions,
           {.tip = "Delete version",
            .status = "Deletes the movie that a pass made.",
            .whyOff = text::kNoVersions}},
          {cmd::MovementCorrection,
           "&Automatic Movement Correction",
           &D::correctMovement,
           &D::hasMovie,
           {.tip = "Correct movement",
            .status = "Finds how far each image has moved, from the one shown to the end of the selection.",
            .keys = "Ctrl+Shift+M",
            .icon = "movement"}},
          {cmd::MovementCorrectionWithoutDisplay,
           "&AMC without display",
           &D::correctMovementWithoutDisplay,
           &D::hasMovie,
           {.tip = "Correct movement, not shown", .status = "The same without showing each image: faster."}},
          {cmd::MovementSettings,
           "Auto Movement Correction...",
           &D::movementSettings,
           {.tip = "Settings of movement correction",
            .status = "Edits the method, the threshold and when the reference image changes."}},
          {cmd::MovementErrorMap,
           "full &AMC regions correlation",
           &D::movementErrorMap,
           &D::hasMovie,
           {.tip = "Error map of this image",
            .status =
                "Opens the errors of the image shown over the reference, for all shifts, at an eighth of the scale."}},
          {cmd::CorrelateImages,
           "&Correlate",
           &D::correlateImages,
           &D::hasMovie,
           {.tip = "Correlate two images",
            .status = "Opens the errors of the centre of one image over all of another.",
            .asks = true}},
          {cmd::ResetOffsets,
           "&Reset offsets to zero",
           &D::resetOffsets,
           &D::hasMovie,
           {.tip = "Reset offsets", .status = "Takes back the movement correction of the selected images."}},
          {cmd::ExportOffsets,
           "Export Movement correction results...",
           &D::exportOffsets,
           &D::hasMovie,
           {.tip = "Export offsets",
            .status = "Writes the offset of each selected image but the first as text."}},
          {cmd::NailfoldPanorama,
           "create nailfold panoramic image",
           &D::makePanorama,
           &D::hasMovie,
           {.tip = "Panorama", .status = "Corrects the movement and opens the averages of all images."}},
          {cmd::MovementQuality,
           "Movement correction &quality",
           &D::movementQuality,
           &D::hasMovie,
           {.tip = "Quality of movement correction",
            .status = "Charts the offsets and, after a run, the error of each image and those that failed."}},
          {cmd::ExportUncompressedAvi,
           "Export uncompressed avi",
           &D::exportUncompressedCommand,
           &D::hasMovie,
           {.tip = "Export uncompressed",
            .status = "Writes the selected images as an uncompressed AVI, under a name that it asks for.",
            .keys = "Ctrl+Shift+X",
            .icon = "export",
            .asks = true}},
          {cmd::ExportCompressedAvi,
           "Export compressed avi...",
           &D::exportCompressedCommand,
           &D::hasMovie,
           {.tip = "Export compressed",
            .status = "Writes the selected images as an AVI of a codec you choose."}},
          {cmd::Import, "&Import...", &D::importCommand},
          {cmd::ImportAvi,
           "Import AVI...",
           &D::importAviCommand,
           {.tip = "Import AVI", .status = "Adds the images of an AVI to this video."}},
          {cmd::CompressVideoOutput,
           "compress video &output",
           &D::toggleCompression,
           nullptr,
           &D::compresses,
           {.tip = "Compress output", .status = "New movie files are compressed AVI rather than .mve."}},
          {cmd::Directories,
           "&Directories...",
           &D::directories,
           {.tip = "Work folder", .status = "Selects the folder that new movie files go to."}},
          {cmd::SelectImages,
           "Select i&mages...",
           &D::selectImages,
           &D::hasMovie,
           {.tip = "Select images",
            .status = "Selects the images that processing and saving take.",
            .keys = "Ctrl+Shift+I"}},
          {cmd::VideoProperties,
           "&Properties...",
           &D::properties,
           {.tip = "Video properties",
            .status = "Shows and edits the movie file and the rate.",
            .keys = "Alt+Return"}},
          {cmd::FftPerPixel,
           "&FFT per pixel sequence",
           &D::fftPerPixel,
           &D::hasMovie,
           {.tip = "FFT per pixel",
            .status = "Makes a movie whose first images are the spectrum of each pixel.",
            .asks = true}},
          {cmd::CalculateAllLines,
           "Calculate &all widths and velocities",
           &D::calculateAll,
           &D::canScan,
           {.tip = "Calculate width and velocities for all dimensions",
            .status = "Measures line after line, and asks whether each velocity is to be accepted.",
            .whyOff = "Draw lines along the capillaries first."}},
          {cmd::DensityOfLines,
           "Capillary density of the lines (&FCD)",
           &D::densityOfLines,
           &D::hasMovie,
           {.tip = "Capillary density",
            .status = "The length of all lines for the area of the ROI, or of the image.",
            .asks = true}},
          {cmd::CalculateCbvOfLines,
           "&Calculate CBV",
           &D::calculateCbv,
           &D::canScan,
           {.tip = "Velocity",
            .status =
                "Scans each line of the list through the selected images, and measures the velocity along it.",
            .whyOff = "Draw lines along the capillaries first."}},
          {cmd::FluxConcSpeed,
           "&Calculate Flux conc & speed",
           &D::fluxConcSpeed,
           &D::hasMovie,
           {.tip = "Flux, conc and speed",
            .status = "Opens flux, conc and speed by the spectrum of each pixel as new images.",
            .asks = true}},
          {cmd::RmsSequence,
           "&rms of whole sequence",
           &D::rmsSequence,
           &D::hasMovie,
           {.tip = "Rms",
            .status = "Opens the deviation of the selected images as a new image.",
            .shown = "&RMS of whole sequence"}},
          {cmd::SpeedByRms,
           "&Speed by rms",
           &D::speedByRms,
           &D::hasMovie,
           {.tip = "Speed by rms",
            .status = "Opens change over variation of the selected images as a new image.",
            .asks = true}},
          {cmd::WidthAgainstTime,
           "Capillary Width vs. time",
           &D::widthsAgainstTime,
           &D::hasLinesAcross,
           {.tip = "Width against time",
            .status = "Opens a chart of the width that each line measures over the selected images."}},
          {cmd::ModifiedLaplacian, "Modified Laplacian", &D::modifiedLaplacian, &D::canFilterMovie},
          {cmd::Min3x3, "Min3x3", &D::min3x3, &D::canFilterMovie},
      },
      &ZBasicDoc::commandTable(),
      {{&D::hasMovie, "This needs a video."},
       {&D::canFilterMovie, "This needs a video in grey."},
       {&D::hasLinesAcross, "Draw a line across a vessel first."},
       {&D::hasPart, "Select a part of the images first."},
       {&D::isFieldMovie, "This needs a video of fields."},
       {&D::isFrameMovie, "This needs a video of whole frames."},
       {&D::isColourMovie, "This needs a video in colour."}});
  return table;
}

namespace {

std::string roundingWords(CZZMovie& movie) {
  const int32_t odd = imagesOnOddRows(movie);
  return odd > 0 ? format(text::kRoundedToEvenRows, odd) : std::string();
}

}  // namespace

// With a selection only that part goes to a file of its own, so there is nothing to ask. Of a movie that is
// away there is no copy: its link outlasts that.
void CVivoCapDoc::saveVideoAs() {
  const bool whole = selectionFirst < 0 && selectionLast < 0;
  movieChoice = whole ? MovieChoice::Usual : MovieChoice::Copy;
  if (!moviePath.empty() && whole) {
    const Answer keeps =
        host().messages.show(moviePath + text::kKeepLink, Buttons::YesNoCancel, Icon::Question);
    if (keeps == Answer::Cancel) return;
    movieChoice = keeps == Answer::No ? MovieChoice::Copy : MovieChoice::KeepLink;
  }
  if (movieChoice == MovieChoice::Copy && !moviePath.empty() && !hasMovie())
    host().messages.show(filledIn(text::kMovieAway, moviePath));
  askAndSave();
  movieChoice = MovieChoice::Usual;
}

void CVivoCapDoc::simpleThreshold() {
  int32_t level = settings.getInt("movie", "simpleimagethreshold", 128);
  Form form("Simple threshold");
  form.add("threshold", level, {0, 255, {}}).withUnit("grey levels");
  if (!asked(form)) return;
  settings.setInt("movie", "simpleimagethreshold", level);
  runStep(text::kSimpleThreshold, StepArea::Roi, [level](CZZimage& area) { area.threshold({}, level); });
}

// These two leave other words in the notes than those of a still.
void CVivoCapDoc::modifiedLaplacian() {
  runStep("", StepArea::Roi, [](CZZimage& area) { tarnvisor::modifiedLaplacian(area); });
}
void CVivoCapDoc::min3x3() {
  runStep("MIN3x3", StepArea::Roi, [](CZZimage& area) { tarnvisor::min3x3(area); });
}

void CVivoCapDoc::mergeFields() {
  makeMovie("merged into frames" + roundingWords(*movie), mergedFields(*movie));
}
void CVivoCapDoc::splitFields() {
  makeMovie("split into fields" + roundingWords(*movie), splitFrames(*movie));
}

// Of a movie of frames the two fields of each change places; of a movie of fields the two images of each
// frame.
void CVivoCapDoc::switchFieldOrder() {
  if (!isFieldMovie())
    return processImages("switched field order\r\n", [](CZZimage& each) { each.swapFields(); });
  makeMovie("switched field order", rewritePlan(formLike(movie->image()), movie->count / 2 * 2,
                                                [movie = movie.get()](int32_t k, CZZimage& made) {
                                                  movie->getImage(k ^ 1, made);
                                                  return true;
                                                }));
}

void CVivoCapDoc::switchLines() {
  processImages("switched lines\r\n", [](CZZimage& each) { each.swapFields(); });
}

// Each against the one before it: one image less than the selection has.
void CVivoCapDoc::squareOfDifferences() {
  const CZZMovie::Range range = selection();
  if (range.size() < 2) return report("Two images at least must be selected.");
  makeMovie("square of differences",
            rewritePlan(formLike(movie->image()), range.size() - 1,
                        [movie = movie.get(), range, before = std::make_unique<CZZimage>()](int32_t k,
                                                                                            CZZimage& made) {
                          movie->getImage(range.first + k, *before);
                          movie->getImage(range.first + k + 1, made);
                          made.squaredDifference(*before);
                          return true;
                        }));
}

void CVivoCapDoc::squareOfDifferencesToCurrent() {
  const CZZMovie::Range range = selection();
  auto current = std::make_unique<CZZimage>();
  if (!current->copyImage(*theImage())) return report(text::kNoMemory);
  makeMovie(
      format("square of differences to image %i", currentIndex()),
      rewritePlan(formLike(movie->image()), range.size(),
                  [movie = movie.get(), range, current = std::move(current)](int32_t k, CZZimage& made) {
                    movie->getImage(range.first + k, made);
                    made.squaredDifference(*current);
                    return true;
                  }));
}

void CVivoCapDoc::deleteImages(const char* question, bool selected) {
  const CZZMovie::Range range = selection();
  const std::string words = format(question, range.first, range.last);
  if (!process.quietMode && host().messages.show(words, Buttons::YesNo, Icon::Question) != Answer::Yes)
    return;
  makeMovie(format(selected ? "deleted images %i to %i" : "deleted all images but %i to %i", range.first,
                   range.last),
            selected ? remainingFrames(*movie, range.first, range.last)
                     : keptFrames(*movie, range.first, range.last));
}

void CVivoCapDoc::deleteSelected() { deleteImages(text::kDeleteSelected, true); }
void CVivoCapDoc::deleteOthers() { deleteImages(text::kDeleteOthers, false); }

void CVivoCapDoc::duplicateImage() {
  if (ZBasicDoc* copy = duplicate("")) copy->setTitle(stemOfTitle() + format("-%04i", currentIndex()));
}

void CVivoCapDoc::averageCommand() { averageSelection(); }

void CVivoCapDoc::colourPlanes() {
  const CZZMovie::Range range = selection();
  makeMovie("colour planes to RGB", framesOfPlanes(*movie, range.first, range.last));
}

void CVivoCapDoc::toGrey() {
  const bool colour = theImage() && theImage()->colourset == kColour;
  makeMovie("convert to grey" + (colour ? " by " + greyWeightsText(weightsOfImages()) : std::string()),
            greyFrames(*movie));
}

// --- subtract trace

namespace {

struct OfferedTrace {
  std::string label;
  const ZZTrace* trace;
};

std::vector<OfferedTrace> offeredTraces(const CTraceArray& own) {
  std::vector<OfferedTrace> offered;
  const auto offer = [&](const std::string& of, const CTraceArray& traces) {
    for (const auto& trace : traces.items)
      if (trace->size() > 0 && trace->data && !hasRows(*trace->data))
        offered.push_back({of + ": " + trace->name, trace.get()});
  };
  offer("this video", own);
  for (CDocument* document : theApp().documents.documents())
    if (const auto* chart = dynamic_cast<ZchartDoc*>(document)) offer(chart->title(), chart->traces);
  return offered;
}

// The sample at a time; the ends stand for all beyond them.
double sampleAt(const ZZTrace& trace, double seconds) {
  const double age = trace.period > 0 ? (seconds - trace.starttime * 0.001) / trace.period : 0;
  const double last = trace.size() - 1.0;
  const auto at = static_cast<uint64_t>(std::isnan(age) ? 0 : std::clamp(std::floor(age + 1e-6), 0.0, last));
  const auto index = static_cast<uint32_t>((trace.origin + at) % trace.size());
  return trace.displayed(trace.data->at(index));
}

}  // namespace

// What a trace does beside its mean is taken off the brightness, so that a flicker goes and the level stays.
void CVivoCapDoc::subtractTrace() {
  const std::vector<OfferedTrace> offered = offeredTraces(overlayTraces);
  if (offered.empty()) return report("No chart with a trace is open.");
  std::vector<std::string> labels;
  labels.reserve(offered.size());
  for (const OfferedTrace& each : offered) labels.push_back(each.label);
  int32_t chosen = 0;
  Form form("Subtract trace");
  form.addChoice("Trace", chosen, labels);
  if (!asked(form)) return;
  const ZZTrace& trace =
      *offered[static_cast<size_t>(std::clamp<int32_t>(chosen, 0, static_cast<int32_t>(offered.size()) - 1))]
           .trace;
  const CZZMovie::Range range = selection();
  double mean = 0;
  int32_t numbers = 0;
  std::vector<double> values;
  for (int32_t i = range.first; i < range.last; ++i) {
    values.push_back(sampleAt(trace, timeOf(i)));
    if (std::isfinite(values.back())) mean += (values.back() - mean) / ++numbers;
  }
  processImages("subtracted trace " + trace.name + text::kLineEnd, [this, mean, values,
                                                                    first = range.first](CZZimage& each) {
    const double apart = values[static_cast<size_t>(movie->current - first)] - mean;
    if (std::isfinite(apart))
      each.addConstant({}, static_cast<int32_t>(-std::lround(std::clamp(apart, -255.0, 255.0))));
  });
}

// --- forms

void CVivoCapDoc::selectImages() {
  int32_t first = selectionFirst, last = selectionLast, step = selectionStep;
  const auto count = static_cast<double>(imageCount());
  Form form("Select images");
  form.add("first", first, {-1, count - 1, {}})
      .add("last", last, {-1, count, {}})
      .add("step", step, {1, count, {}})
      .addNote(
          "Images are counted from 0. The last one is the first that is left out; -1 stands for the start and the end. The step is of compressed exports alone; all else takes every image.");
  if (!host().forms.run(form)) return;
  if (const Outcome done = select(first, last); !done)
    return report("Nothing was selected: " + done.why() + ".");
  selectionStep = step;
}

// The movie before stays where the other one can't be opened. The same frames keep what is known of them.
void CVivoCapDoc::relink(const std::string& file) {
  if (movie && movie->modified) return report("Save the recording first.");
  auto other = std::make_unique<CZZMovie>();
  if (!other->open(file))
    return report(format("%s\n%s\n%s", text::kCouldNotLoadImage, file.c_str(), other->failure().c_str()));
  if (movie && movie->frameTable.size() == other->frameTable.size()) other->adoptTable(movie->frameTable);
  movie = std::move(other);
  movieChanged();
}

// What there is to read of the images and their file.
std::vector<std::pair<std::string, std::string>> CVivoCapDoc::fileFacts() const {
  if (!hasMovie()) return {};
  const CZZimage& form = movie->form();
  const MinuteTime time(timeOf(movie->count));
  const char* kind = form.colourset == kGrey ? "grey" : form.colourset == kBayer ? "mosaic" : "colour";
  return {{"Size",
           format("%i x %i pixels, %i bit %s", form.width, form.frameHeight(), 8 * form.bytesPerPixel, kind)},
          {"Images", format("%i%s", movie->count, isFieldMovie() ? " fields" : "")},
          {"Duration", format("%i:%05.2f at %.6g images a second", time.minutes, time.hundredths / 100.0,
                              imagesPerSecond())},
          {"Codec", movie->codec()},
          {"Disc space", sizeInWords(fileSize(movie->fileName)) + ", " +
                             sizeInWords(freeDiscBytes(folderOf(movie->fileName))) + " free"}};
}

void CVivoCapDoc::properties() {
  std::string file = moviePath;
  double framesPerSecond = fps;
  int32_t rate = movie ? movie->rate : 1, scale = movie ? movie->scale : 1;
  Form form("Video Sequence Properties");
  form.addFile("Video data filename", file, text::kVideoFilter)
      .add("Frames per second", framesPerSecond, {0.001, 100000, {}})
      .add("avi rate", rate, {1, 2147483647, {}})
      .add("avi scale", scale, {1, 2147483647, {}});
  std::vector<std::pair<std::string, std::string>> told = fileFacts();
  for (auto& [name, value] : told) form.addReading(name, value);
  if (!host().forms.run(form)) return;
  const bool newRate = fps != framesPerSecond;
  const bool newFile = file != moviePath && !file.empty();
  const auto hasNewAviRate = [&] { return movie && (rate != movie->rate || scale != movie->scale); };
  if (!newRate && !newFile && !hasNewAviRate()) return;
  fps = framesPerSecond;
  if (newRate) updatePlayPeriod();
  if (newFile) relink(file);
  if (hasNewAviRate()) {
    movie->rate = rate;
    movie->scale = scale;
  } else if (newRate) {
    giveRate();
  }
  setModified();
  updateAllViews();
}

}  // namespace tarnvisor
