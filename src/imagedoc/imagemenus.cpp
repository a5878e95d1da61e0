#include "imagedoc/imagemenus.h"

#include "frame/menus.h"
#include "imagedoc/commandids.h"
#include "results/commandids.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

MenuEntries toolEntries() {
  return {cmd::ToolPan,           cmd::ToolRoi,      cmd::ToolOrigin,  cmd::ToolCrosshair,
          K::Separator,           cmd::ToolCounting, cmd::ToolLines,   cmd::ToolPolyline,
          cmd::ToolFreehandLines, cmd::ToolCircle,   cmd::ToolPolygon, cmd::ToolFreehandArea,
          K::Separator,           cmd::ToolTrace};
}

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

}  // namespace

Menu imageEditMenu() {
  return {"&Edit",
          {cmd::Undo, cmd::Redo, K::Separator, cmd::Copy, cmd::Paste, cmd::DeleteDimension, cmd::SelectAll,
           K::Separator, cmd::RotateSelected, cmd::SetLineWidth, cmd::ClearAllDimensions, K::Separator,
           cmd::Notes}};
}

Menu imageViewMenu() {
  return {"&View", zoomEntries() +
                       MenuEntries{K::Separator, cmd::ScaleBar, cmd::Grid, cmd::GridSettings,
                                   cmd::ShowCrosshair, cmd::HideShowDimensions, K::Separator, paletteMenu(),
                                   brightnessMenu(), K::Separator} +
                       barEntries()};
}

Menu processingMenu(const MenuEntries& ofKind) {
  return {"&Image", MenuEntries{cmd::AdjustBrightnessContrast, cmd::Threshold, cmd::Equalise, cmd::Negative,
                                cmd::ConvertToGrey, cmd::GreyWeights, cmd::Bin, cmd::SubtractImage} +
                        ofKind +
                        MenuEntries{K::Separator, filterMenu(), dustMenu(), K::Separator,
                                    cmd::MakeRoiCircular, cmd::ClearRoi}};
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
           cmd::DimensionListWindow,
           K::Separator,
           cmd::MeasuringLine,
           cmd::SecondMeasuringLine,
           cmd::Linescan}};
}

Menu analysisMenu() {
  return {"&Analysis",
          {cmd::FindCapillaries,
           cmd::FindNailfoldLoops,
           cmd::ReviewMarks,
           cmd::FindAgain,
           {"Nailfold l&oops",
            {cmd::AddLoopsToResults, cmd::ChartLoopMeasures, K::Separator, cmd::NailSideAutomatic,
             cmd::NailAtTop, cmd::NailAtRight, cmd::NailAtBottom, cmd::NailAtLeft}},
           cmd::ThresholdCapillaries,
           cmd::ThresholdPreprocessCheck,
           cmd::Processing,
           K::Separator,
           cmd::VoronoiRegions,
           cmd::CalculateAverage,
           cmd::ImageResults,
           K::Separator,
           cmd::FindCapillaryWidth,
           cmd::MeasureNailfoldLoops,
           cmd::CapillaryWidthMethod,
           K::Separator,
           cmd::FocusSettings,
           {"&Minima and regions",
            {cmd::Find8Regions, cmd::MinimaWithinWindow, cmd::MinimaWithinTolerance, cmd::WalkToMinima}}}};
}

std::vector<PopupMenu> imagePopups() {
  const MenuEntries tools =
      toolEntries() +
      MenuEntries{K::Separator,        cmd::Copy,    cmd::Paste,      cmd::DeleteDimension, cmd::SetLineWidth,
                  cmd::RotateSelected, K::Separator, cmd::SwitchList, cmd::MakeRoiCircular, cmd::ClearRoi};
  const MenuEntries display =
      zoomEntries() + MenuEntries{K::Separator,       cmd::ScaleBar,           cmd::Grid,
                                  cmd::ShowCrosshair, cmd::HideShowDimensions, K::Separator,
                                  paletteMenu(),      brightnessMenu()};
  return {{kToolsPopup, tools}, {kDisplayPopup, display}};
}

std::vector<ToolBarGroup> imageToolBars() {
  using B = ToolBarGroup::Bar;
  using G = ToolBarGroup::Gate;
  return {
      {10007,
       B::Ops,
       G::Image,
       {cmd::ToolPan, cmd::ToolRoi, cmd::ToolOrigin, cmd::ToolCrosshair, cmd::ToolCounting, cmd::ToolLines,
        cmd::ToolPolyline, cmd::ToolFreehandLines, cmd::ToolCircle, cmd::ToolPolygon},
       0},
      {10011,
       B::Measure,
       G::Image,
       {cmd::ToolFreehandArea, cmd::ToolTrace, cmd::ZoomIn, cmd::ZoomOut, cmd::ZoomFit, cmd::ZoomActualSize,
        cmd::ScaleBar, cmd::Grid, cmd::SwitchList, cmd::HideShowDimensions, cmd::SetLineWidth,
        cmd::DeleteDimension, cmd::RotateSelected, cmd::Magnification, cmd::CalibrateMagnification},
       1},
      {10014,
       B::Ops,
       G::Image,
       {cmd::FindNailfoldLoops, cmd::FindCapillaries, cmd::ReviewMarks, cmd::VoronoiRegions,
        cmd::ImageResults, cmd::DimensionListWindow, cmd::GreyLevel, cmd::Histogram},
       2},
      {10022,
       B::Main,
       G::Image,
       {cmd::AutoAdjustDisplay, cmd::DisplayBrightnessUp, cmd::DisplayBrightnessDown,
        cmd::AdjustBrightnessContrast}},
  };
}

std::vector<int32_t> imageKeysOnly() { return {cmd::VignetteTest, cmd::AutocalTest}; }

}  // namespace tarnvisor
