// The groups of tool bar buttons.
#include "app/processstate.h"
#include "frame/menus.h"
#include "framework/commandids.h"

namespace tarnvisor {

const std::vector<ToolBarGroup>& toolBarGroups() {
  using B = ToolBarGroup::Bar;
  using G = ToolBarGroup::Gate;
  static const std::vector<ToolBarGroup> groups{
      {10000,
       B::Main,
       G::Always,
       {cmd::FileOpen, cmd::FileSave, cmd::FilePrint, cmd::FilePrintPreview, cmd::Import, cmd::Export,
        cmd::Undo, cmd::Redo, cmd::Copy, cmd::Paste, cmd::SelectSubject, cmd::ViewExams, cmd::HelpContents}},
      {10004, B::Main, G::Velocity, {cmd::Flo1Monitor}},
      {10007,
       B::Ops,
       G::Image,
       {cmd::ToolPan, cmd::ToolRoi, cmd::ToolOrigin, cmd::ToolCrosshair, cmd::ToolCounting, cmd::ToolLines,
        cmd::ToolPolyline, cmd::ToolFreehandLines, cmd::ToolCircle, cmd::ToolPolygon},
       0},
      {10011,
       B::Ops,
       G::Image,
       {cmd::ToolFreehandArea, cmd::ToolTrace, cmd::ZoomIn, cmd::ZoomOut, cmd::ZoomFit, cmd::ZoomActualSize,
        cmd::ScaleBar, cmd::Grid, cmd::SwitchList, cmd::HideShowDimensions, cmd::SetLineWidth,
        cmd::DeleteDimension, cmd::RotateSelected, cmd::Magnification, cmd::CalibrateMagnification},
       1},
      {10014,
       B::Ops,
       G::Image,
       {cmd::FindCapillaries, cmd::VoronoiRegions, cmd::ImageResults, cmd::DimensionListWindow,
        cmd::GreyLevel, cmd::Histogram},
       2},
      {10027, B::Main, G::Camera, {cmd::LiveVideo, cmd::RunStop}},
      {10022,
       B::Main,
       G::Image,
       {cmd::AutoAdjustDisplay, cmd::DisplayBrightnessUp, cmd::DisplayBrightnessDown,
        cmd::AdjustBrightnessContrast}},
      {10012,
       B::Main,
       G::Dynamic,
       {cmd::SaveImage, cmd::RecordSequence, cmd::TriggerButton, cmd::StepBack, cmd::PlaySequence,
        cmd::StepForward}},
  };
  return groups;
}

bool gateOpen(const ToolBarGroup& group, int32_t fgMode) {
  if (group.buttons.empty()) return false;
  switch (group.gate) {
    case ToolBarGroup::Gate::Always:
      return true;
    case ToolBarGroup::Gate::Velocity:
      return process.floEnabled != 0;
    case ToolBarGroup::Gate::Image:
      return process.tarnvisorEnabled != 0;
    case ToolBarGroup::Gate::Camera:
      return process.tarnvisorEnabled && fgMode;
    case ToolBarGroup::Gate::Dynamic:
      return process.dynamicChannel();
  }
  return false;
}

}  // namespace tarnvisor
