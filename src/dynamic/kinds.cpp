#include "dynamic/kinds.h"

#include "dynamic/commandids.h"
#include "dynamic/fcfview.h"
#include "dynamic/vivocapview.h"
#include "frame/menus.h"
#include "imagedoc/imagemenus.h"
#include "imagedoc/otherpictures.h"
#include "movie/movieoutput.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

Menu sequenceMenu() {
  return {"Se&quence",
          {cmd::PlaySequence,
           cmd::LoopSequence,
           cmd::PlayFaster,
           cmd::PlaySlower,
           cmd::PlaybackSkip,
           K::Separator,
           cmd::StepForward,
           cmd::StepBack,
           K::Separator,
           cmd::SelectImages,
           cmd::MarkIn,
           cmd::MarkOut,
           cmd::SelectAllImages,
           cmd::DeleteSelectedImages,
           cmd::DeleteOtherImages,
           K::Separator,
           {"&Versions", {cmd::GoToVersion, cmd::CompareVersion, cmd::DeleteVersion}},
           K::Separator,
           cmd::AverageSequence,
           cmd::AverageInFocus,
           cmd::FocusCheck,
           K::Separator,
           {"&Movement",
            {cmd::MovementCorrection, cmd::MovementCorrectionWithoutDisplay, cmd::MovementQuality,
             K::Separator, cmd::EditMovementRegions, cmd::MovementErrorMap, cmd::CorrelateImages,
             K::Separator, cmd::MoveByHand, cmd::TrackByHand, K::Separator, cmd::ResetOffsets,
             cmd::ExportOffsets, K::Separator, cmd::NailfoldPanorama, K::Separator, cmd::MovementSettings}},
           {"&Fields",
            {cmd::MergeFields, cmd::SplitFields, K::Separator, cmd::SwitchFieldOrder, cmd::SwitchLines}}}};
}

Menu flowMenu() {
  return {"F&low",
          {cmd::DrawVelocityLines, cmd::CalculateCbvOfLines, cmd::CalculateAllLines, K::Separator,
           cmd::DrawDensityLines, cmd::DensityOfLines, K::Separator, cmd::CalculateFcf, cmd::SpeedByRms,
           cmd::RmsSequence, K::Separator, cmd::FluxConcSpeed, cmd::FftPerPixel, K::Separator,
           cmd::WidthAgainstTime, K::Separator, cmd::FlyingSpotWindow, cmd::ChartFlyingSpot}};
}

Menu mapMenu() {
  return {"F&low",
          {cmd::ViewFcf, cmd::ViewFlux, cmd::ViewConc, cmd::ViewMask, K::Separator, cmd::UseConcThreshold,
           cmd::UseMaskThreshold, cmd::FcfThresholdUp, cmd::FcfThresholdDown, K::Separator,
           cmd::RecalculateFcf, cmd::AddFcdRow}};
}

std::vector<Menu> mapMenus() {
  const MenuEntries ofFile{cmd::FileSave,  cmd::FileSaveAs,      cmd::DuplicateImage,   K::Separator,
                           cmd::Export,    cmd::ExportDicom,     cmd::ImportDimensions, K::Separator,
                           cmd::FilePrint, cmd::FilePrintPreview};
  return {fileMenu(ofFile),   imageEditMenu(), imageViewMenu(), mapMenu(),
          processingMenu({}), measureMenu(),   analysisMenu(),  subjectMenu(),
          acquisitionMenu(),  windowMenu(),    helpMenu()};
}

std::vector<Menu> videoMenus() {
  const MenuEntries ofFile{cmd::FileSave,
                           cmd::FileSaveAs,
                           cmd::DuplicateImage,
                           K::Separator,
                           cmd::ImportAvi,
                           cmd::ExportUncompressedAvi,
                           cmd::ExportCompressedAvi,
                           cmd::CompressVideoOutput,
                           cmd::Export,
                           cmd::ExportDicom,
                           cmd::ImportDimensions,
                           K::Separator,
                           cmd::VideoProperties,
                           cmd::Directories,
                           K::Separator,
                           cmd::FilePrint,
                           cmd::FilePrintPreview};
  return {fileMenu(ofFile),
          imageEditMenu(),
          imageViewMenu(),
          sequenceMenu(),
          processingMenu({cmd::SubtractTrace, cmd::SquareOfDifferences, cmd::SquareOfDifferencesToCurrent,
                          cmd::ColourPlanes}),
          measureMenu(),
          analysisMenu(),
          flowMenu(),
          subjectMenu(),
          acquisitionMenu(),
          windowMenu(),
          helpMenu()};
}

DocumentFace faceWith(std::vector<FileKind> files) {
  DocumentFace face{.tables = {&CVivoCapView::commandTable(), &CVivoCapDoc::commandTable()},
                    .menus = videoMenus(),
                    .popups = imagePopups(),
                    .toolBars = imageToolBars(),
                    .keysOnly = imageKeysOnly(),
                    .files = std::move(files),
                    .startSwitches = {{'a', {cmd::ExportUncompressedAvi, cmd::AppExit}},
                                      {'m', {cmd::MovementCorrectionWithoutDisplay}},
                                      {'P', {cmd::NailfoldPanorama}}},
                    .helpPage = "video"};
  face.toolBars.push_back({10012,
                           ToolBarGroup::Bar::Main,
                           ToolBarGroup::Gate::Dynamic,
                           {cmd::SaveImage, cmd::RecordSequence, cmd::TriggerButton, cmd::StepBack,
                            cmd::PlaySequence, cmd::StepForward}});
  return face;
}

const DocumentFace& videoFace() {
  static const DocumentFace face =
      faceWith({{.ending = ".dtv",
                 .openWords = "Videos (*.dtv)",
                 .openPlace = 2,
                 .mimeType = "application/x-tarnvisor-video",
                 .mimeComment = "Tarnvisor video document"},
                {.ending = ".mve", .mimeType = "video/x-tarnvisor-movie", .mimeComment = "Tarnvisor movie"},
                {.ending = ".raw", .openWords = "Raw frames (*.raw)", .openPlace = 9, .ofOthers = true}});
  return face;
}

const DocumentFace& aviFace() {
  static const DocumentFace face = faceWith({{.ending = ".avi",
                                              .openWords = "AVI Videos (*.avi)",
                                              .openPlace = 3,
                                              .ofOthers = true,
                                              .mimeType = "video/x-msvideo"}});
  return face;
}

const DocumentFace& fcfFace() {
  static const DocumentFace face{.tables = {&fcfview::commandTable(), &fcfdoc::commandTable()},
                                 .menus = mapMenus(),
                                 .popups = imagePopups(),
                                 .toolBars = imageToolBars(),
                                 .keysOnly = imageKeysOnly(),
                                 .files = {{.ending = ".zzfcf",
                                            .openWords = "FCF (*.zzfcf)",
                                            .openPlace = 7,
                                            .mimeType = "application/x-tarnvisor-fcf",
                                            .mimeComment = "Tarnvisor capillary flow"}},
                                 .icon = "flow",
                                 .helpPage = "flow"};
  return face;
}

}  // namespace

DocumentRow videoKind() {
  static const std::string videoImports = std::string(kMovieFilter) + "|" + kSequenceFilter;
  return {DocumentRow::Gate::Image,
          {10021, "\nVideo\nVideo\nVideos (*.dtv)\n.dtv\nTarnvisor.Video\nTarnvisor Video Document",
           "CVivoCapDoc", "CVivoCapView", kChildFrame, &makeDocument<CVivoCapDoc>,
           &makeView<CVivoCapDoc, CVivoCapView>, &isVideoFile, videoImports.c_str(), &videoFace},
          &ProcessState::videoTemplate};
}

DocumentRow aviKind() {
  return {DocumentRow::Gate::Dynamic,
          {10001, "\nAVI Video\n\nAVI videos (*.avi)\n.avi\n\n\n", "CVivoCapDoc", "CVivoCapView", kChildFrame,
           &makeDocument<CVivoCapDoc>, &makeView<CVivoCapDoc, CVivoCapView>, &isAviName, "AVI videos|*.avi",
           &aviFace}};
}

DocumentRow fcfKind() {
  return {
      DocumentRow::Gate::Dynamic,
      {10013, "\nFCF\nFCF\nFCF images (*.zzfcf)\n.zzfcf\nTarnvisor.FCF\nTarnvisor FCF  Document", "fcfdoc",
       "fcfview", kChildFrame, &makeDocument<fcfdoc>, &makeView<fcfdoc, fcfview>, nullptr, "", &fcfFace},
      &ProcessState::fcfTemplate};
}

}  // namespace tarnvisor
