// The command table, and the commands that need no subject of their own.
#include "app/asked.h"
#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "dicom/dicomreader.h"
#include "dicom/dicomwriter.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "image/palette.h"
#include "image/stillimport.h"
#include "imagedoc/commandids.h"
#include "imagedoc/focusfigure.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

const CommandTableBase& ZBasicDoc::commandTable() {
  using D = ZBasicDoc;
  static const CommandTable<D> table(
      {
          {cmd::Notes,
           "&Notes...",
           &D::notesCommand,
           {.tip = "Notes",
            .status = "Shows and edits the image's notes.",
            .keys = "Ctrl+N",
            .icon = "notes"}},
          {cmd::ClearAllDimensions,
           "&Clear all dimensions",
           &D::clearAllDimensions,
           &D::hasDimensions,
           {.tip = "Clear dimensions",
            .status = "Removes all dimensions of the current list.",
            .icon = "clear-dimensions"}},
          {cmd::ShowCrosshair,
           "&Show Crosshair",
           &D::showCrosshair,
           nullptr,
           &D::showsTarget,
           {.tip = "Crosshair", .status = "Shows or hides the target cross.", .icon = "crosshair"}},
          {cmd::HideShowDimensions,
           "&Hide/Show Dimensions",
           &D::hideShowDimensions,
           nullptr,
           &D::hidesDimensions,
           {.tip = "Hide or show dimensions",
            .status = "Hides or shows the dimensions of the current list.",
            .keys = "Ctrl+H",
            .icon = "hide-dimensions"}},
          {cmd::SwitchList,
           "S&witch List",
           &D::switchList,
           {.tip = "Switch list",
            .status = "Makes the next list of dimensions the current one.",
            .keys = "Ctrl+Shift+N",
            .icon = "switch-list"}},
          {cmd::TrimToRoi,
           "&Trim to ROI",
           &D::trimToRoi,
           &D::canTrim,
           {.tip = "Trim to region",
            .status = "Cuts the dimensions of the current list at the region of interest.",
            .icon = "trim"}},
          {cmd::ImportDimensions,
           "&Import Dimensions...",
           &D::importDimensionsCommand,
           {.tip = "Import dimensions", .status = "Adds points from a text file to the current list."}},
          {cmd::Undo, "&Undo", &D::undo, &D::canUndo},
          {cmd::Redo, "&Redo", &D::undo, &D::canUndo},
          {cmd::DuplicateImage,
           "&Duplicate image in new window",
           &D::duplicateCommand,
           &D::hasImage,
           {.tip = "Duplicate image",
            .status = "Opens a copy of the image in a new window.",
            .keys = "Ctrl+Shift+D",
            .icon = "duplicate"}},
          {cmd::ConvertToGrey,
           "Convert to &grey",
           &D::convertToGrey,
           &D::isColoured,
           {.tip = "Convert to grey", .status = "Makes a grey image of the colours.", .icon = "to-grey"}},
          {cmd::GreyWeights,
           "Grey &weights...",
           &D::greyWeightsCommand,
           {.tip = "Grey weights",
            .status = "Sets what red, green and blue light count where colours become grey."}},
          {cmd::ZeroAsBlack,
           "&zero as black",
           &D::zeroAsBlack,
           &D::hasImage,
           &D::isZeroBlack,
           {.tip = "Zero as black", .status = "Shows pixels of value 0 in black whatever the palette."}},
          {cmd::AutoAdjustDisplay,
           "Auto adjust display &A",
           &D::autoAdjustDisplay,
           &D::hasImage,
           &D::isAutoAdjusted,
           {.tip = "Auto adjust display",
            .status = "Spreads the grey levels shown between the display limits.",
            .keys = "Ctrl+J",
            .icon = "auto-adjust"}},
          {cmd::DisplayBrightnessUp,
           "display brightness up",
           &D::displayBrightnessUp,
           &D::hasImage,
           {.tip = "Brighter white",
            .status = "Raises the grey level that is shown as white.",
            .icon = "brightness-up"}},
          {cmd::DisplayBrightnessDown,
           "display brightness down",
           &D::displayBrightnessDown,
           &D::hasImage,
           {.tip = "Darker white",
            .status = "Lowers the grey level that is shown as white.",
            .icon = "brightness-down"}},
          {cmd::DisplayDarknessUp,
           "display darkeness up",
           &D::displayDarknessUp,
           &D::hasImage,
           {.tip = "Darker black",
            .status = "Lowers the grey level that is shown as black.",
            .icon = "darkness-up"}},
          {cmd::DisplayDarknessDown,
           "display darkness down",
           &D::displayDarknessDown,
           &D::hasImage,
           {.tip = "Brighter black",
            .status = "Raises the grey level that is shown as black.",
            .icon = "darkness-down"}},
          {cmd::Export, "&Export...", &D::exportCommand, &D::hasImage},
          {cmd::ExportDicom,
           "Export &DICOM...",
           &D::exportDicomCommand,
           &D::hasImage,
           {.tip = "Export DICOM",
            .status =
                "Writes the image, or the selected images of a video, for archives and viewers of hospitals."}},
          {cmd::Import, "&Import...", &D::importCommand},
          {cmd::UseDustMask,
           "&Use Dust Mask filter",
           &D::useDustMask,
           nullptr,
           &D::usesDustMask,
           {.tip = "Use dust mask",
            .status = "Repairs the marks of the dust mask in every image, or leaves them."}},
          {cmd::SaveDustMask,
           "&Save Dust Mask",
           &D::saveDustMask,
           {.tip = "Save dust mask", .status = "Writes the dust mask to a file."}},
          {cmd::LoadDustMask,
           "&Load dust mask",
           &D::loadDustMaskCommand,
           {.tip = "Load dust mask", .status = "Reads a dust mask from a file."}},
          {cmd::EditDustMask,
           "&Edit dust mask",
           &D::editDustMask,
           nullptr,
           &D::editsDustMask,
           {.tip = "Edit dust mask", .status = "Draws rectangles over dust marks.", .icon = "dust"}},
          {cmd::RemoveSingleDustMark,
           "&Remove single dust mark",
           &D::removeSingleDustMark,
           &D::canRemoveDustMark,
           {.tip = "Remove dust mark",
            .status = "Repairs the region as a single mark of dust.",
            .icon = "dust-mark"}},
          {cmd::MakeRoiCircular,
           "&Make ROI circular",
           &D::toggleCircularRoi,
           &D::canBeCircular,
           &D::hasCircularRoi,
           {.tip = "Circular region",
            .status = "Makes the region of interest a circle, or a rectangle again.",
            .icon = "roi-circle"}},
          {cmd::PaletteGreylevel,
           "&Greylevel",
           &D::paletteCommand<0>,
           &D::hasImage,
           &D::hasPalette<0>,
           {.tip = "Grey levels", .status = "Shows the image in grey levels.", .icon = "palette-grey"}},
          {cmd::PaletteColour,
           "&Colour",
           &D::paletteCommand<1>,
           &D::hasImage,
           &D::hasPalette<1>,
           {.tip = "Colour", .status = "Shows the image in its own colours.", .icon = "palette-colour"}},
          {cmd::PaletteRed,
           "&Red",
           &D::paletteCommand<2>,
           &D::hasImage,
           &D::hasPalette<2>,
           {.tip = "Red", .status = "Shows the red part of the image.", .icon = "palette-red"}},
          {cmd::PaletteGreen,
           "Gr&een",
           &D::paletteCommand<3>,
           &D::hasImage,
           &D::hasPalette<3>,
           {.tip = "Green", .status = "Shows the green part of the image.", .icon = "palette-green"}},
          {cmd::PaletteBlue,
           "&Blue",
           &D::paletteCommand<4>,
           &D::hasImage,
           &D::hasPalette<4>,
           {.tip = "Blue", .status = "Shows the blue part of the image.", .icon = "palette-blue"}},
          {cmd::PaletteMulticolour,
           "&Multicolour",
           &D::paletteCommand<5>,
           &D::hasImage,
           &D::hasPalette<5>,
           {.tip = "Multicolour",
            .status = "Shows grey levels as colours from blue to red.",
            .icon = "palette-contour"}},
          {cmd::PaletteContour2,
           "Contour&2",
           &D::paletteCommand<6>,
           &D::hasImage,
           &D::hasPalette<6>,
           {.tip = "2 contours", .status = "Shows the grey levels in 2 bands.", .icon = "contour2"}},
          {cmd::PaletteContour4,
           "Contour&4",
           &D::paletteCommand<7>,
           &D::hasImage,
           &D::hasPalette<7>,
           {.tip = "4 contours", .status = "Shows the grey levels in 4 bands.", .icon = "contour4"}},
          {cmd::PaletteContour8,
           "Contour&8",
           &D::paletteCommand<8>,
           &D::hasImage,
           &D::hasPalette<8>,
           {.tip = "8 contours", .status = "Shows the grey levels in 8 bands.", .icon = "contour8"}},
          {cmd::PaletteContour16,
           "Contour&16",
           &D::paletteCommand<9>,
           &D::hasImage,
           &D::hasPalette<9>,
           {.tip = "16 contours", .status = "Shows the grey levels in 16 bands.", .icon = "contour16"}},
          {cmd::Magnification,
           "&Magnification...",
           &D::magnificationCommand,
           {.tip = "Magnification",
            .status = "Chooses and edits the magnification of the image.",
            .keys = "Ctrl+M",
            .icon = "magnification"}},
          {cmd::CalibrateMagnification,
           "&Calibrate magnification...",
           &D::calibrateCommand,
           {.tip = "Calibrate",
            .status = "Calibrates the magnification by a dimension of known length.",
            .icon = "calibrate"}},
          {cmd::Units,
           "&Units...",
           &D::unitsCommand,
           {.tip = "Units",
            .status = "Sets the unit of length, or measures in pixels.",
            .keys = "Ctrl+U",
            .icon = "units"}},
          {cmd::Grid,
           "&Grid",
           &D::gridCommand,
           nullptr,
           &D::showsGrid,
           {.tip = "Grid",
            .status = "Shows or hides the grid on the image.",
            .keys = "Ctrl+G",
            .icon = "grid"}},
          {cmd::GridSettings,
           "G&rid...",
           &D::gridSettingsCommand,
           {.tip = "Grid settings",
            .status = "Sets style, spacing and colour of the grid.",
            .keys = "Ctrl+Shift+G"}},
          {cmd::Equalise,
           "&Equalise",
           &D::equalise,
           &D::canFilter,
           {.tip = "Equalise",
            .status = "Spreads the grey levels of the region evenly.",
            .icon = "equalise",
            .whyOff = text::kNeedsGrey}},
          {cmd::Negative,
           "&Negative",
           &D::negative,
           &D::canFilter,
           {.tip = "Negative",
            .status = "Turns light into dark and dark into light.",
            .icon = "negative",
            .whyOff = text::kNeedsGrey}},
          {cmd::HighPassFilter,
           "&High pass filter",
           &D::highPass,
           &D::canFilter,
           {.tip = "High pass filter",
            .status = "Sharpens: takes the mean of a window from each pixel.",
            .icon = "high-pass",
            .whyOff = text::kNeedsGrey}},
          {cmd::LowPassFilter,
           "&Low pass filter",
           &D::lowPass,
           &D::canFilter,
           {.tip = "Low pass filter",
            .status = "Smooths: makes each pixel the mean of a window.",
            .icon = "low-pass",
            .whyOff = text::kNeedsGrey}},
          {cmd::Blur,
           "&Blur",
           &D::blur,
           &D::canFilter,
           {.tip = "Blur",
            .status = "Blurs the region by a Gaussian.",
            .icon = "blur",
            .whyOff = text::kNeedsGrey}},
          {cmd::LaplacianFilter,
           "La&placian filter",
           &D::laplacian,
           &D::canFilter,
           {.tip = "Laplacian filter",
            .status = "Brings out edges by the Laplacian.",
            .icon = "laplacian",
            .whyOff = text::kNeedsGrey}},
          {cmd::CustomFilter,
           "&Custom Filter",
           &D::customFilter,
           &D::canFilter,
           {.tip = "Custom filter",
            .status = "Filters by a kernel of your own.",
            .whyOff = text::kNeedsGrey}},
          {cmd::ModifiedLaplacian,
           "&Modified Laplacian",
           &D::modifiedLaplacian,
           &D::canFilter,
           {.tip = "Modified Laplacian",
            .status = "Filters by the modified Laplacian, a measure of focus.",
            .whyOff = text::kNeedsGrey}},
          {cmd::SumModifiedLaplacian,
           "&Sum Modified Lapalacian",
           &D::sumModifiedLaplacian,
           &D::canFilter,
           {.tip = "Sum modified Laplacian",
            .status = "Filters by the sum of the modified Laplacian, a measure of focus.",
            .whyOff = text::kNeedsGrey}},
          {cmd::LuluLower,
           "L&3",
           &D::luluLower,
           &D::canFilter,
           {.tip = "Filter L3", .status = "Removes narrow light marks.", .whyOff = text::kNeedsGrey}},
          {cmd::LuluUpper,
           "&U3",
           &D::luluUpper,
           &D::canFilter,
           {.tip = "Filter U3", .status = "Removes narrow dark marks.", .whyOff = text::kNeedsGrey}},
          {cmd::Mlulu,
           "MLULU",
           &D::mlulu,
           &D::canFilter,
           {.tip = "Filter MLULU",
            .status = "Removes narrow marks, light and dark.",
            .whyOff = text::kNeedsGrey}},
          {cmd::Min3x3,
           "M&in3x3",
           &D::min3x3,
           &D::canFilter,
           {.tip = "Minimum of 3 by 3",
            .status = "Makes each pixel the darkest of its neighbours.",
            .whyOff = text::kNeedsGrey}},
          {cmd::AdjustBrightnessContrast,
           "&Adjust brightness/contrast",
           &D::adjust,
           &D::canFilter,
           {.tip = "Brightness and contrast",
            .status = "Changes brightness and contrast of the pixels with two sliders.",
            .keys = "Ctrl+K",
            .icon = "brightness-contrast",
            .whyOff = text::kNeedsGrey}},
          {cmd::SubtractImage,
           "Su&btract image",
           &D::subtractImage,
           &D::canChangePixels,
           {.tip = "Subtract image", .status = "Subtracts another image from this one."}},
          {cmd::Bin,
           "&Bin",
           &D::bin,
           &D::canBin,
           {.tip = "Bin", .status = "Joins neighbouring pixels to one.", .whyOff = text::kNeedsGrey}},
          {cmd::Threshold,
           "&Threshold",
           &D::threshold,
           &D::canFilter,
           {.tip = "Threshold",
            .status = "Turns the image into black and white at a grey level.",
            .icon = "threshold",
            .whyOff = text::kNeedsGrey}},
          {cmd::FindCapillaries,
           "&Find Capillaries",
           &D::findCapillaries,
           &D::hasImage,
           {.tip = "Find capillaries",
            .status = "Finds and counts capillaries in the region, or counts those that are marked.",
            .keys = "Ctrl+F",
            .icon = "find-capillaries"}},
          {cmd::FindNailfoldLoops,
           "Find nailfold &loops",
           &D::findNailfoldLoops,
           &D::hasImage,
           {.tip = "Find nailfold loops",
            .status =
                "Marks the distal row of loops in a colour image with a scale, and counts them a millimetre."}},
          {cmd::AddLoopsToResults,
           "&Add loops to results",
           &D::addLoopsToResults,
           &D::hasImage,
           {.tip = "Add loops to results",
            .status = "Adds the marked row and each of its loops to the results."}},
          {cmd::ChartLoopMeasures,
           "&Chart of loop measures...",
           &D::chartLoopMeasures,
           &D::hasImage,
           {.tip = "Chart of loop measures",
            .status = "Shows how widths, lengths or distances of the marked loops are spread."}},
          {cmd::NailSideAutomatic,
           "&Nail side automatic",
           &D::nailCommand<0>,
           nullptr,
           &D::hasNail<0>,
           {.tip = "Nail side automatic", .status = "Finds from the picture on which side the nail lies."}},
          {cmd::NailAtTop,
           "Nail at the &top",
           &D::nailCommand<1>,
           nullptr,
           &D::hasNail<1>,
           {.tip = "Nail at the top", .status = "The nail lies towards the top of the pictures."}},
          {cmd::NailAtRight,
           "Nail at the &right",
           &D::nailCommand<2>,
           nullptr,
           &D::hasNail<2>,
           {.tip = "Nail at the right", .status = "The nail lies towards the right of the pictures."}},
          {cmd::NailAtBottom,
           "Nail at the &bottom",
           &D::nailCommand<3>,
           nullptr,
           &D::hasNail<3>,
           {.tip = "Nail at the bottom", .status = "The nail lies towards the bottom of the pictures."}},
          {cmd::NailAtLeft,
           "Nail at the &left",
           &D::nailCommand<4>,
           nullptr,
           &D::hasNail<4>,
           {.tip = "Nail at the left", .status = "The nail lies towards the left of the pictures."}},
          {cmd::CalculateAverage,
           "Calculate &average of selection",
           &D::calculateAverage,
           {.tip = "Average of selection",
            .status = "Adds the grey levels and measures of the region to the image results.",
            .icon = "average"}},
          {cmd::VoronoiRegions,
           "Calculate &Voronoi regions",
           &D::calculateVoronoiRegions,
           &D::canCalculateVoronoi,
           {.tip = "Voronoi regions",
            .status = "Measures the spacing of the capillaries that are marked.",
            .keys = "Ctrl+Shift+V",
            .icon = "voronoi"}},
          {cmd::ThresholdCapillaries,
           "&Threshold Capillaries",
           &D::thresholdCapillaries,
           &D::hasImage,
           {.tip = "Threshold capillaries",
            .status = "Shows in a new window what the finder takes for capillaries."}},
          {cmd::ThresholdPreprocessCheck,
           "Threshold &preprocess check",
           &D::thresholdPreprocessCheck,
           &D::hasImage,
           {.tip = "Preprocess check", .status = "Shows in a new window what the finder's filters give."}},
          {cmd::Processing,
           "P&rocessing...",
           &D::processing,
           {.tip = "Processing", .status = "Sets windows and sizes for the finder.", .icon = "processing"}},
          {cmd::FocusSettings,
           "Focus measurement settings...",
           &D::focusSettings,
           {.tip = "Focus measurement",
            .status = "Sets how the focus is measured, and whether the status bar shows it."}},
          {cmd::ApexFilter,
           "&apex filter",
           &D::apexFilterCommand,
           &D::canFilter,
           {.tip = "Apex filter",
            .status = "Brings out round dark spots such as capillary apices.",
            .whyOff = text::kNeedsGrey}},
          {cmd::Find8Regions,
           "find &8 regions",
           &D::find8Regions,
           &D::canFilter,
           {.tip = "Regions of equal level",
            .status = "Marks regions of equal grey level in a new window.",
            .whyOff = text::kNeedsGrey}},
          {cmd::MinimaWithinWindow,
           "find minima within &window",
           &D::minimaWithinWindow,
           &D::canFilter,
           {.tip = "Minima within a window",
            .status = "Marks the darkest points within windows.",
            .whyOff = text::kNeedsGrey}},
          {cmd::MinimaWithinTolerance,
           "find minima within t&olerance",
           &D::minimaWithinTolerance,
           &D::canFilter,
           {.tip = "Minima within a tolerance",
            .status = "Marks dark points that stand out by a tolerance.",
            .whyOff = text::kNeedsGrey}},
          {cmd::WalkToMinima,
           "&Walk to minima",
           &D::walkToMinima,
           &D::canFilter,
           {.tip = "Walk to minima",
            .status = "Walks downhill from a point to the nearest minimum, in a new window.",
            .whyOff = text::kNeedsGrey}},
      },
      &CdbDocument::commandTable());
  return table;
}

void ZBasicDoc::clearAllDimensions() {
  const Change change(*this);
  currentDims().removeAll();
  setModified();
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::focusSettings() { editFocusSettings(); }

void ZBasicDoc::notesCommand() {
  std::string file = imagefile;
  std::string time = capturetime ? longDateTime(capturetime) : std::string();
  std::string edited = notes;
  // The document's own subject, by the name that this database has for it.
  const auto own = theApp().db && belongsHere() ? theApp().db->readSubject(patientId) : std::nullopt;
  std::string subject = "Subject: " + (patientId.empty() ? theExams().subjectName()
                                       : own             ? own->name + " " + own->surname
                                                         : patientId);
  std::string exam = format("Exam:%li", static_cast<long>(examIdOfDoc));
  Form form("Notes");
  form.add("Image file", file).addNote(time).addLongText("Notes", edited);
  form.addNote(subject).addNote(exam).addNote(userLabel).addNote(stationId).addNote(stationIdFirst);
  if (!host().forms.run(form) || (file == imagefile && edited == notes)) return;
  const Change change(*this);
  if (file != imagefile) {
    imagefile = file;
    imagedirty = 1;
    ownsImageFile = false;
  }
  notes = edited;
  setModified();
  updateAllViews();
}

void ZBasicDoc::showCrosshair() {
  showtarget = !showtarget;
  settings.setInt("settings", "showtarget", showtarget);
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::hideShowDimensions() {
  currentDims().hidden = !currentDims().hidden;
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::switchList() {
  // The dust marks stand behind the last list and are reached only by their own command.
  setCurrentList(currentlist >= kAmcList ? kPlainList : currentlist + 1);
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::trimToRoi() {
  const Change change(*this);
  currentDims().clip(roi, hasCircularRoi());
  setModified();
  updateAllViews(CView::Change::Marks);
}

void ZBasicDoc::importDimensionsCommand() {
  const auto path = host().choosers.openFile(
      {"Import Dimensions", "Text files (*.txt)|*.txt|All files (*.*)|*.*||", "", ""});
  if (!path) return;
  const Change change(*this);
  importDimensions(*path);
}

void ZBasicDoc::duplicateCommand() { duplicate("-copy"); }

void ZBasicDoc::exportCommand() {
  const std::string extension = settings.getString("settings", "imagetype", ".bmp");
  // Scripts name the file.
  const std::string folder = isUnattended() ? "" : folderOf(exportPath(extension));
  const auto path = host().choosers.saveFile({"Export", text::kImageFilter, extension, folder});
  if (path && !path->empty()) exportImage(*path);
}

void ZBasicDoc::exportDicomCommand() {
  const auto path =
      host().choosers.saveFile({"Export DICOM", "DICOM (*.dcm)|*.dcm||", ".dcm", exportPath(".dcm")});
  if (!path || path->empty()) return;
  if (const Outcome may = theApp().documents.mayOutputTo(*path); !may) return report(may.why());
  DicomFacts facts = dicomFactsOf(*this);
  if (askDicomFacts(facts)) exportDicomAs(*path, facts);
}

void ZBasicDoc::exportDicomAs(const std::string& path, const DicomFacts& facts) {
  if (const Outcome done = exportDicom(*theImage(), facts, path); !done) report(done.why());
}

// What somebody chooses comes in as what it is, whatever is in front; a script means the image in front.
void ZBasicDoc::importCommand() {
  const auto path = host().choosers.openFile({"Import", text::kImageFilter, "", ""});
  if (!path || path->empty()) return;
  if (!hasImage() && imagefile.empty() && (isPictureFile(*path) || isUnattended())) {
    const bool isSomebodys = !measuredFor().subject.empty();
    if (!mayTakeFrom(*path) || !onImportFile(*path)) return;
    if (isSomebodys) subjectOfFile.clear();  // who it is of was settled
    updateAllViews();
    return;
  }
  if (!isUnattended()) {
    theApp().importFile(*path);
    return;
  }
  // What the image buffer doesn't load becomes a document of its own.
  if (!loadsAsItStands(*path) && (isStillFile(*path) || isDicomFile(*path))) {
    theApp().openDocumentFile(*path);
    return;
  }
  Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return;
  if (!loadImage(*path)) return change.abandon();
  forgetResult();
  appendNotes("pixels imported from " + fileNameOf(*path) + text::kLineEnd);
  tellOfOtherScale(*path, stillScale(*path, 0));
  imagedirty = 1;
  setModified();
}

void ZBasicDoc::toggleCircularRoi() {
  const Change change(*this);
  makeRoiCircular();
  updateAllViews();
}

}  // namespace tarnvisor
