// The command table, and the commands that need no subject of their own.
#include <algorithm>
#include <utility>

#include "app/basicapp.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "framework/commandids.h"
#include "host/host.h"
#include "image/palette.h"
#include "image/stillimport.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

const CommandTableBase* ZBasicDoc::commands() const {
  using D = ZBasicDoc;
  static const CommandTable<D> table(
      {
          {cmd::Notes, "&Notes...", &D::notesCommand},
          {cmd::ClearAllDimensions, "&Clear all dimensions", &D::clearAllDimensions, &D::hasDimensions},
          {cmd::ShowCrosshair, "&Show Crosshair", &D::showCrosshair, nullptr, &D::showsTarget},
          {cmd::HideShowDimensions, "&Hide/Show Dimensions", &D::hideShowDimensions, nullptr,
           &D::hidesDimensions},
          {cmd::SwitchList, "S&witch List", &D::switchList},
          {cmd::TrimToRoi, "&Trim to ROI", &D::trimToRoi, &D::canTrim},
          {cmd::ImportDimensions, "&Import Dimensions...", &D::importDimensionsCommand},
          {cmd::Undo, "&Undo", &D::undo, &D::canUndo},
          {cmd::Redo, "&Redo", &D::undo, &D::canUndo},
          {cmd::DuplicateImage, "&Duplicate image in new window", &D::duplicateCommand, &D::hasImage},
          {cmd::ConvertToGrey, "Convert to &grey", &D::convertToGrey, &D::isColoured},
          {cmd::ZeroAsBlack, "&zero as black", &D::zeroAsBlack, &D::hasImage, &D::isZeroBlack},
          {cmd::AutoAdjustDisplay, "Auto adjust display &A", &D::autoAdjustDisplay, &D::hasImage,
           &D::isAutoAdjusted},
          {cmd::DisplayBrightnessUp, "display brightness up", &D::displayBrightnessUp, &D::hasImage},
          {cmd::DisplayBrightnessDown, "display brightness down", &D::displayBrightnessDown, &D::hasImage},
          {cmd::DisplayDarknessUp, "display darkeness up", &D::displayDarknessUp, &D::hasImage},
          {cmd::DisplayDarknessDown, "display darkness down", &D::displayDarknessDown, &D::hasImage},
          {cmd::Export, "&Export...", &D::exportCommand, &D::hasImage},
          {cmd::Import, "&Import...", &D::importCommand},
          {cmd::UseDustMask, "&Use Dust Mask filter", &D::useDustMask, nullptr, &D::usesDustMask},
          {cmd::SaveDustMask, "&Save Dust Mask", &D::saveDustMask},
          {cmd::LoadDustMask, "&Load dust mask", &D::loadDustMaskCommand},
          {cmd::EditDustMask, "&Edit dust mask", &D::editDustMask, nullptr, &D::editsDustMask},
          {cmd::RemoveSingleDustMark, "&Remove single dust mark", &D::removeSingleDustMark,
           &D::canRemoveDustMark},
          {cmd::MakeRoiCircular, "&Make ROI circular", &D::toggleCircularRoi, &D::hasRoi, &D::hasCircularRoi},
          {cmd::PaletteGreylevel, "&Greylevel", &D::paletteCommand<0>, &D::hasImage, &D::hasPalette<0>},
          {cmd::PaletteColour, "&Colour", &D::paletteCommand<1>, &D::hasImage, &D::hasPalette<1>},
          {cmd::PaletteRed, "&Red", &D::paletteCommand<2>, &D::hasImage, &D::hasPalette<2>},
          {cmd::PaletteGreen, "Gr&een", &D::paletteCommand<3>, &D::hasImage, &D::hasPalette<3>},
          {cmd::PaletteBlue, "&Blue", &D::paletteCommand<4>, &D::hasImage, &D::hasPalette<4>},
          {cmd::PaletteMulticolour, "&Multicolour", &D::paletteCommand<5>, &D::hasImage, &D::hasPalette<5>},
          {cmd::PaletteContour2, "Contour&2", &D::paletteCommand<6>, &D::hasImage, &D::hasPalette<6>},
          {cmd::PaletteContour4, "Contour&4", &D::paletteCommand<7>, &D::hasImage, &D::hasPalette<7>},
          {cmd::PaletteContour8, "Contour&8", &D::paletteCommand<8>, &D::hasImage, &D::hasPalette<8>},
          {cmd::PaletteContour16, "Contour&16", &D::paletteCommand<9>, &D::hasImage, &D::hasPalette<9>},
          {cmd::Magnification, "&Magnification...", &D::magnificationCommand},
          {cmd::CalibrateMagnification, "&Calibrate magnification...", &D::calibrateCommand},
          {cmd::Units, "&Units...", &D::unitsCommand},
          {cmd::Grid, "&Grid", &D::gridCommand, nullptr, &D::showsGrid},
          {cmd::GridSettings, "G&rid...", &D::gridSettingsCommand},
          {cmd::Equalise, "&Equalise", &D::equalise, &D::canFilter},
          {cmd::Negative, "&Negative", &D::negative, &D::canFilter},
          {cmd::HighPassFilter, "&High pass filter", &D::highPass, &D::canFilter},
          {cmd::LowPassFilter, "&Low pass filter", &D::lowPass, &D::canFilter},
          {cmd::Blur, "&Blur", &D::blur, &D::canFilter},
          {cmd::LaplacianFilter, "La&placian filter", &D::laplacian, &D::canFilter},
          {cmd::CustomFilter, "&Custom Filter", &D::customFilter, &D::canFilter},
          {cmd::ModifiedLaplacian, "&Modified Laplacian", &D::modifiedLaplacian, &D::canFilter},
          {cmd::SumModifiedLaplacian, "&Sum Modified Lapalacian", &D::sumModifiedLaplacian, &D::canFilter},
          {cmd::LuluLower, "L&3", &D::luluLower, &D::canFilter},
          {cmd::LuluUpper, "&U3", &D::luluUpper, &D::canFilter},
          {cmd::Mlulu, "MLULU", &D::mlulu, &D::canFilter},
          {cmd::Min3x3, "M&in3x3", &D::min3x3, &D::canFilter},
          {cmd::AdjustBrightnessContrast, "&Adjust brightness/contrast", &D::adjust, &D::canFilter},
          {cmd::SubtractImage, "Su&btract image", &D::subtractImage, &D::hasImage},
          {cmd::Bin, "&Bin", &D::bin, &D::canBin},
          {cmd::Threshold, "&Threshold", &D::threshold, &D::canFilter},
          {cmd::FindCapillaries, "&Find Capillaries", &D::findCapillaries, &D::hasImage},
          {cmd::CalculateAverage, "Calculate &average of selection", &D::calculateAverage},
          {cmd::VoronoiRegions, "Calculate &Voronoi regions", &D::calculateVoronoiRegions,
           &D::canCalculateVoronoi},
          {cmd::ThresholdCapillaries, "&Threshold Capillaries", &D::thresholdCapillaries, &D::hasImage},
          {cmd::ThresholdPreprocessCheck, "Threshold &preprocess check", &D::thresholdPreprocessCheck,
           &D::hasImage},
          {cmd::Processing, "P&rocessing...", &D::processing},
          {cmd::ApexFilter, "&apex filter", &D::apexFilterCommand, &D::canFilter},
          {cmd::Find8Regions, "find &8 regions", &D::find8Regions, &D::canFilter},
          {cmd::MinimaWithinWindow, "find minima within &window", &D::minimaWithinWindow, &D::canFilter},
          {cmd::MinimaWithinTolerance, "find minima within t&olerance", &D::minimaWithinTolerance,
           &D::canFilter},
          {cmd::WalkToMinima, "&Walk to minima", &D::walkToMinima, &D::canFilter},
      },
      CdbDocument::commands());
  return &table;
}

void ZBasicDoc::clearAllDimensions() {
  currentDims().removeAll();
  setModified();
  updateAllViews();
}

void ZBasicDoc::notesCommand() {
  std::string file = imagefile;
  std::string time = capturetime ? longDateTime(capturetime) : std::string();
  std::string edited = notes;
  std::string subject = "Subject: " + theApp().subjectName;
  std::string exam = format("Exam:%li", static_cast<long>(examIdOfDoc));
  Form form("Notes");
  form.add("Image file", file).addNote(time).addLongText("Notes", edited);
  form.addNote(subject).addNote(exam).addNote(userLabel).addNote(stationId).addNote(stationIdFirst);
  if (!host().forms.run(form)) return;
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
  updateAllViews();
}

void ZBasicDoc::hideShowDimensions() {
  currentDims().hidden = !currentDims().hidden;
  updateAllViews();
}

void ZBasicDoc::switchList() {
  // The dust marks stand behind the last list and are reached only by their own command.
  setCurrentList(currentlist >= kAmcList ? kPlainList : currentlist + 1);
  updateAllViews();
}

void ZBasicDoc::trimToRoi() {
  currentDims().clip(roi, hasCircularRoi());
  setModified();
  updateAllViews();
}

void ZBasicDoc::importDimensionsCommand() {
  const auto path = host().choosers.openFile(
      {"Import Dimensions", "Text files (*.txt)|*.txt|All files (*.*)|*.*||", "", ""});
  if (path) (void)importDimensions(*path);
}

void ZBasicDoc::undo() {
  std::swap(image, undoimage);
  image->blackZero = zeroasblack;
  setColourset(colourset);
  appendNotes("undo\r\n");
  imagedirty = 1;
  setModified();
  updateAllViews();
}

void ZBasicDoc::duplicateCommand() { (void)duplicate("-copy"); }

void ZBasicDoc::convertToGrey() {
  const WaitScope wait;
  if (!saveUndoCopy()) return;
  if (!theImage()->convertToGrey()) {
    report("There is not enough memory.");
    return;
  }
  setColourset(colourset);
  finishStep("convert to grey\r\n");
}

void ZBasicDoc::zeroAsBlack() {
  zeroasblack = !zeroasblack;
  theImage()->blackZero = zeroasblack;
  theImage()->setPalette(-1);
  updateAllViews();
}

bool ZBasicDoc::isAutoAdjusted() const { return adjustPaletteOn != 0; }

void ZBasicDoc::autoAdjustDisplay() {
  adjustPaletteOn = !adjustPaletteOn;
  theImage()->setPalette(-1);
  updateAllViews();
}

// The two levels over which the adjusted palette spreads the picture stay within 1 to 255 and at least 10
// apart.
void ZBasicDoc::moveDisplayLimits(int32_t white, int32_t black) {
  constexpr int32_t kApart = 10;
  adjustpaldark = std::clamp(adjustpaldark, 1, 255 - kApart);
  adjustpallight = std::clamp(adjustpallight, adjustpaldark + kApart, 255);
  adjustpallight = std::clamp(adjustpallight + white, adjustpaldark + kApart, 255);
  adjustpaldark = std::clamp(adjustpaldark + black, 1, adjustpallight - kApart);
  theImage()->setPalette(-1);
  updateAllViews();
}

void ZBasicDoc::displayBrightnessUp() { moveDisplayLimits(5, 0); }
void ZBasicDoc::displayBrightnessDown() { moveDisplayLimits(-5, 0); }
void ZBasicDoc::displayDarknessUp() { moveDisplayLimits(0, -5); }
void ZBasicDoc::displayDarknessDown() { moveDisplayLimits(0, 5); }

void ZBasicDoc::exportCommand() {
  const std::string extension = settings.getString("settings", "imagetype", ".bmp");
  const auto path = host().choosers.saveFile({"Export", text::kImageFilter, extension, ""});
  if (path && !path->empty()) (void)saveImage(*path);
}

void ZBasicDoc::importCommand() {
  const auto path = host().choosers.openFile({"Import", text::kImageFilter, "", ""});
  if (!path || path->empty()) return;
  if (!hasImage() && imagefile.empty()) {
    if (onImportFile(*path)) updateAllViews();
    return;
  }
  // What the image buffer doesn't load becomes a document of its own.
  if (!loadsAsItStands(*path) && isStillFile(*path)) {
    (void)theApp().openDocumentFile(*path);
    return;
  }
  CZZimage before;
  if (hasImage() && !before.copyImage(*theImage())) return report("There is not enough memory.");
  if (!loadImage(*path)) return;
  (void)undoimage->copyImage(before);
  imagedirty = 1;
  setModified();
}

void ZBasicDoc::toggleCircularRoi() {
  makeRoiCircular();
  updateAllViews();
}

}  // namespace tarnvisor
