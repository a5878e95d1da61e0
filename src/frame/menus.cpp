#include "frame/menus.h"

#include "framework/commandids.h"
#include "framework/documenttype.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;
using Entries = std::vector<MenuEntry>;

// The ids of the document types that have menus of their own.
constexpr int32_t kImageType = 10002;
constexpr int32_t kResultType = 10023;
constexpr int32_t kDimensionListType = 10009;
constexpr int32_t kChartType = 10024;
constexpr int32_t kLiveChartType = 10015;
constexpr int32_t kXyChartType = 10020;
constexpr int32_t kVideoType = 10021;
constexpr int32_t kAviType = 10001;

Entries operator+(Entries first, const Entries& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// What a kind of document adds stands between opening and what concerns the whole program.
Menu fileMenu(const Entries& ofDocument) {
  return {"&File", Entries{cmd::FileOpen, cmd::Import, cmd::OpenCytoscan, cmd::FileClose} + ofDocument +
                       Entries{K::Separator, cmd::DataFolder, cmd::SelectProfile, K::Separator,
                               K::RecentFiles, K::Separator, cmd::AppExit}};
}

Menu subjectMenu() {
  return {"&Subject", {cmd::SelectSubject, cmd::ViewExams, K::Separator, cmd::ProcessResults}};
}

Menu acquisitionMenu() {
  return {"A&cquisition",
          {cmd::LiveVideo, cmd::Flo1Monitor, cmd::OpenAcquisitionWindows, K::Separator, cmd::RecordSequence,
           cmd::SaveImage, cmd::Trigger, K::Separator, cmd::RecordFolder}};
}

Entries barEntries() {
  return {cmd::Toolbar,
          cmd::RecordBar,
          cmd::StatusBar,
          cmd::StatusWindow,
          {"&Groups of the tool bar", {cmd::ToggleOpsGroup1, cmd::ToggleOpsGroup2, cmd::ToggleOpsGroup3}},
          K::Separator,
          cmd::ExpertMode,
          cmd::AlwaysOnTop};
}

Menu windowMenu() {
  return {"&Window", {cmd::WindowCascade, cmd::WindowTile, cmd::CloseAll, K::Separator, K::Windows}};
}

Menu helpMenu() { return {"&Help", {cmd::HelpContents, cmd::ShortcutList, K::Separator, cmd::AppAbout}}; }

Entries toolEntries() {
  return {cmd::ToolPan,           cmd::ToolRoi,      cmd::ToolOrigin,  cmd::ToolCrosshair,
          K::Separator,           cmd::ToolCounting, cmd::ToolLines,   cmd::ToolPolyline,
          cmd::ToolFreehandLines, cmd::ToolCircle,   cmd::ToolPolygon, cmd::ToolFreehandArea,
          K::Separator,           cmd::ToolTrace};
}

Entries zoomEntries() { return {cmd::ZoomIn, cmd::ZoomOut, cmd::ZoomFit, cmd::ZoomActualSize}; }

MenuEntry paletteMenu() {
  return {"&Palette",
          {cmd::PaletteGreylevel, cmd::PaletteColour, cmd::PaletteRed, cmd::PaletteGreen, cmd::PaletteBlue,
           cmd::PaletteMulticolour, K::Separator, cmd::PaletteContour2, cmd::PaletteContour4,
           cmd::PaletteContour8, cmd::PaletteContour16, K::Separator, cmd::ZeroAsBlack}};
}

MenuEntry brightnessMenu() {
  return {"Display &brightness",
          {cmd::AutoAdjustDisplay, K::Separator, cmd::DisplayBrightnessUp, cmd::DisplayBrightnessDown,
           cmd::DisplayDarknessUp, cmd::DisplayDarknessDown}};
}

MenuEntry filterMenu() {
  return {"&Filter",
          {cmd::HighPassFilter, cmd::LowPassFilter, cmd::Blur, cmd::LaplacianFilter, cmd::CustomFilter,
           K::Separator, cmd::ModifiedLaplacian, cmd::SumModifiedLaplacian, K::Separator, cmd::LuluLower,
           cmd::LuluUpper, cmd::Mlulu, cmd::Min3x3, K::Separator, cmd::ApexFilter}};
}

MenuEntry dustMenu() {
  return {"&Dust",
          {cmd::UseDustMask, cmd::LoadDustMask, cmd::SaveDustMask, cmd::EditDustMask, K::Separator,
           cmd::RemoveSingleDustMark}};
}

Menu imageEditMenu() {
  return {"&Edit",
          {cmd::Undo, cmd::Redo, K::Separator, cmd::Copy, cmd::Paste, cmd::DeleteDimension, K::Separator,
           cmd::RotateSelected, cmd::SetLineWidth, cmd::ClearAllDimensions, K::Separator, cmd::Notes}};
}

Menu imageViewMenu() {
  return {"&View",
          zoomEntries() +
              Entries{K::Separator, cmd::ScaleBar, cmd::Grid, cmd::GridSettings, cmd::ShowCrosshair,
                      cmd::HideShowDimensions, K::Separator, paletteMenu(), brightnessMenu(), K::Separator} +
              barEntries()};
}

// What a kind of image adds stands before the filters.
Menu processingMenu(const Entries& ofKind) {
  return {"&Image", Entries{cmd::AdjustBrightnessContrast, cmd::Threshold, cmd::Equalise, cmd::Negative,
                            cmd::ConvertToGrey, cmd::Bin, cmd::SubtractImage} +
                        ofKind +
                        Entries{K::Separator, filterMenu(), dustMenu(), K::Separator, cmd::MakeRoiCircular}};
}

Menu measureMenu() {
  return {"&Measure",
          {{"&Tools", toolEntries()},
           K::Separator,
           cmd::SwitchList,
           cmd::TrimToRoi,
           K::Separator,
           cmd::Magnification,
           cmd::CalibrateMagnification,
           cmd::Units,
           K::Separator,
           cmd::GreyLevel,
           cmd::Histogram,
           cmd::DimensionListWindow}};
}

Menu analysisMenu() {
  return {"&Analysis",
          {cmd::FindCapillaries,
           cmd::ThresholdCapillaries,
           cmd::ThresholdPreprocessCheck,
           cmd::Processing,
           K::Separator,
           cmd::VoronoiRegions,
           cmd::CalculateAverage,
           cmd::ImageResults,
           K::Separator,
           {"&Minima and regions",
            {cmd::Find8Regions, cmd::MinimaWithinWindow, cmd::MinimaWithinTolerance, cmd::WalkToMinima}}}};
}

std::vector<Menu> imageMenus() {
  const Entries ofFile{cmd::FileSave, cmd::FileSaveAs, cmd::DuplicateImage,
                       K::Separator,  cmd::Export,     cmd::ImportDimensions,
                       K::Separator,  cmd::FilePrint,  cmd::FilePrintPreview};
  return {fileMenu(ofFile), imageEditMenu(), imageViewMenu(),   processingMenu({}), measureMenu(),
          analysisMenu(),   subjectMenu(),   acquisitionMenu(), windowMenu(),       helpMenu()};
}

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
           cmd::DeleteSelectedImages,
           cmd::DeleteOtherImages,
           K::Separator,
           cmd::AverageSequence,
           K::Separator,
           {"&Fields",
            {cmd::MergeFields, cmd::SplitFields, K::Separator, cmd::SwitchFieldOrder, cmd::SwitchLines}}}};
}

std::vector<Menu> videoMenus() {
  const Entries ofFile{cmd::FileSave,
                       cmd::FileSaveAs,
                       cmd::DuplicateImage,
                       K::Separator,
                       cmd::ImportAvi,
                       cmd::ExportUncompressedAvi,
                       cmd::ExportCompressedAvi,
                       cmd::CompressVideoOutput,
                       cmd::Export,
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
          subjectMenu(),
          acquisitionMenu(),
          windowMenu(),
          helpMenu()};
}

std::vector<Menu> chartMenus() {
  const Entries ofFile{cmd::FileSave,      cmd::FileSaveAs, K::Separator,   cmd::ExportTrace,
                       cmd::ExportPicture, K::Separator,    cmd::FilePrint, cmd::FilePrintPreview};
  return {
      fileMenu(ofFile),
      {"&Edit",
       {cmd::Undo, cmd::RedoTrace, K::Separator, cmd::EditCopy, cmd::EditCut, cmd::EditPaste,
        cmd::DeleteFromTrace, K::Separator, cmd::InsertMarker, cmd::EditMarker, cmd::EditNewMarks,
        K::Separator, cmd::ClearTraces}},
      {"&View", zoomEntries() +
                    Entries{cmd::ZoomValueIn, cmd::ZoomValueOut, cmd::SameScale, K::Separator,
                            cmd::ReduceFullScale, cmd::IncreaseFullScale, cmd::RaiseOffset, cmd::LowerOffset,
                            cmd::LinearIntensity, K::Separator, cmd::ChartColour, cmd::InverseColours,
                            cmd::MinimumToBackground, K::Separator} +
                    barEntries()},
      {"&Trace",
       {cmd::TraceProperties, cmd::HideTrace, cmd::ShowHiddenTraces, K::Separator, cmd::RunChart,
        cmd::StopChart, K::Separator, cmd::ChartResults, cmd::PsdProfile, cmd::XyChart, cmd::ImageFromTrace}},
      {"&Analysis",
       {cmd::SimpleSmoothing,
        cmd::FirFilter,
        cmd::ArtifactFilter,
        cmd::RemovePulse,
        K::Separator,
        cmd::Differentiate,
        cmd::PulsatilityIndex,
        cmd::ResistanceIndex,
        cmd::GoldenMaxima,
        cmd::PowerSpectrum,
        K::Separator,
        {"&Rows of a spectrum",
         {cmd::SignalStrength, cmd::PowerContour, cmd::LevelContour, K::Separator, cmd::NormaliseToSelection,
          cmd::HalvePoints, cmd::CutPedestal, cmd::CutPsdArtifacts, cmd::DpsHistogram}},
        cmd::CutToAverage}},
      subjectMenu(),
      acquisitionMenu(),
      windowMenu(),
      helpMenu()};
}

// Tables are edited by nobody: what remains is copying.
std::vector<Menu> tableMenus(const Entries& ofFile) {
  return {fileMenu(ofFile),
          {"&Edit", {cmd::CopyResults, cmd::SelectAll}},
          {"&View", barEntries()},
          subjectMenu(),
          acquisitionMenu(),
          windowMenu(),
          helpMenu()};
}

}  // namespace

MenuSet menuSetFor(const CDocument* front) {
  switch (front && front->type() ? front->type()->id() : 0) {
    case kImageType:
      return MenuSet::Image;
    case kResultType:
      return MenuSet::ResultTable;
    case kDimensionListType:
      return MenuSet::DimensionList;
    case kChartType:
    case kLiveChartType:
      return MenuSet::Chart;
    case kXyChartType:
      return MenuSet::XyChart;
    case kVideoType:
    case kAviType:
      return MenuSet::Video;
    default:
      return MenuSet::None;
  }
}

const std::vector<Menu>& menusOf(MenuSet set) {
  static const std::vector<Menu> none{
      fileMenu({}), {"&View", barEntries()}, subjectMenu(), acquisitionMenu(), windowMenu(), helpMenu()};
  static const std::vector<Menu> image = imageMenus();
  static const std::vector<Menu> results = tableMenus({cmd::FileSave, cmd::FileSaveAs, cmd::ExportResults,
                                                       K::Separator, cmd::FilePrint, cmd::FilePrintPreview});
  static const std::vector<Menu> dimensions = tableMenus({cmd::FileSave, cmd::FileSaveAs});
  static const std::vector<Menu> chart = chartMenus();
  static const std::vector<Menu> video = videoMenus();
  static const std::vector<Menu> xyChart{fileMenu({cmd::FileSave, cmd::FileSaveAs, cmd::ExportPicture,
                                                   K::Separator, cmd::FilePrint, cmd::FilePrintPreview}),
                                         {"&Edit", {cmd::Undo, cmd::RedoTrace}},
                                         {"&View", barEntries()},
                                         subjectMenu(),
                                         acquisitionMenu(),
                                         windowMenu(),
                                         helpMenu()};
  switch (set) {
    case MenuSet::Image:
      return image;
    case MenuSet::ResultTable:
      return results;
    case MenuSet::DimensionList:
      return dimensions;
    case MenuSet::Chart:
      return chart;
    case MenuSet::XyChart:
      return xyChart;
    case MenuSet::Video:
      return video;
    default:
      return none;
  }
}

int32_t popupMenuFor(const CDocument* front) {
  return menuSetFor(front) == MenuSet::Chart ? kChartPopup : kToolsPopup;
}

const std::vector<MenuEntry>& popupMenuOf(int32_t menuId) {
  static const Entries tools =
      toolEntries() + Entries{K::Separator,         cmd::Copy,         cmd::Paste,
                              cmd::DeleteDimension, cmd::SetLineWidth, cmd::RotateSelected,
                              K::Separator,         cmd::SwitchList,   cmd::MakeRoiCircular};
  static const Entries display =
      zoomEntries() + Entries{K::Separator,       cmd::ScaleBar,           cmd::Grid,
                              cmd::ShowCrosshair, cmd::HideShowDimensions, K::Separator,
                              paletteMenu(),      brightnessMenu()};
  static const Entries chart{cmd::EditCopy,     cmd::EditCut,         cmd::EditPaste,  cmd::DeleteFromTrace,
                             K::Separator,      cmd::InsertMarker,    cmd::EditMarker, K::Separator,
                             cmd::ZoomFit,      cmd::ZoomIn,          cmd::ZoomOut,    K::Separator,
                             cmd::ChartResults, cmd::TraceProperties, cmd::HideTrace};
  static const Entries nothing;
  switch (menuId) {
    case kToolsPopup:
      return tools;
    case kDisplayPopup:
      return display;
    case kChartPopup:
      return chart;
    default:
      return nothing;
  }
}

const std::vector<int32_t>& commandsWithKeysOnly() {
  static const std::vector<int32_t> ids{cmd::RunStop,        cmd::Stop,         cmd::MainPopup,
                                        cmd::SecondPopup,    cmd::VignetteTest, cmd::AutocalTest,
                                        cmd::RestoreMainMenu};
  return ids;
}

CommandState commandState(std::span<CommandTarget* const> chain, int32_t id) {
  for (const CommandTarget* target : chain) {
    const CommandTableBase* table = target ? target->commands() : nullptr;
    const CommandRow* row = table ? table->find(id) : nullptr;
    if (row) return {true, row->enabled(*target), row->ticked(*target), row->text};
  }
  return {};
}

}  // namespace tarnvisor
