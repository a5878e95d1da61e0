#include "capture/kinds.h"

#include <string_view>

#include "capture/commandids.h"
#include "capture/vivorecview.h"
#include "capture/zbasicfgview.h"
#include "dynamic/kinds.h"
#include "frame/menus.h"
#include "imagedoc/imagemenus.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

Menu cameraMenu() {
  return {"&Camera",
          {cmd::StartVideo,
           cmd::FreezeVideo,
           cmd::TimedSaves,
           K::Separator,
           cmd::FrameSkip,
           K::Separator,
           cmd::VideoInputControl,
           cmd::BigBrightness,
           cmd::AutoBrightnessControl,
           cmd::AutoFocusControl,
           K::Separator,
           cmd::LiveZoomIn,
           cmd::LiveZoomOut,
           cmd::LiveText,
           K::Separator,
           cmd::HalfResolution,
           cmd::GrabImageSize,
           cmd::PixelClock,
           cmd::Flickerless,
           cmd::SelectCamera,
           cmd::ShowAllErrors,
           K::Separator,
           {"&Focus drive", {cmd::FocusPlusPlus, cmd::FocusMinusMinus, cmd::SetFocusZero, cmd::FocusRamp}}}};
}

const DocumentFace& liveFace() {
  static const DocumentFace face{
      .tables = {&ZBasicfgView::commandTable()},
      .menus = {fileMenu({cmd::FileSave, cmd::FileSaveAs, cmd::DuplicateImage, K::Separator, cmd::Export,
                          cmd::ExportDicom, cmd::ImportDimensions, K::Separator, cmd::FilePrint,
                          cmd::FilePrintPreview}),
                imageEditMenu(), imageViewMenu(), cameraMenu(), processingMenu({}), measureMenu(),
                analysisMenu(), subjectMenu(), acquisitionMenu(), windowMenu(), helpMenu()},
      .popups = imagePopups(),
      .toolBars = imageToolBars(),
      .keysOnly = imageKeysOnly(),
      .icon = "live",
      .helpPage = "live"};
  return face;
}

const DocumentFace& recorderFace() {
  static const DocumentFace face = [] {
    DocumentFace video = videoKind().classes.faceOf();
    video.tables = {&CVivoRecView::commandTable(), &CVivoRecDoc::commandTable()};
    video.files.clear();
    video.startSwitches.clear();
    video.icon = "record";
    video.helpPage = "live";
    for (Menu& menu : video.menus)
      if (std::string_view(menu.title) == "Se&quence")
        menu.entries = menu.entries + MenuEntries{K::Separator, cmd::AllocateMemory};
    return video;
  }();
  return face;
}

}  // namespace

DocumentRow liveKind() {
  return {DocumentRow::Gate::Live,
          {10005, "\nVideo\n\nFrozen Video (*.tv1)\n.tv1\n\n", "ZBasicfgDoc", "ZBasicfgView", kChildFrame,
           &makeDocument<ZBasicfgDoc>, &makeView<ZBasicfgDoc, ZBasicfgView>, nullptr, "", &liveFace},
          &ProcessState::liveTemplate};
}

DocumentRow recorderKind() {
  return {DocumentRow::Gate::Image,
          {10021, "\nVideo\nVideo\nVideos (*.dtv)\n.dtv\nTarnvisor.Video\nTarnvisor Video Document",
           "ZZcytoDoc", "ZZcytoView", kChildFrame, &makeDocument<CVivoRecDoc>,
           &makeView<CVivoRecDoc, CVivoRecView>, nullptr, "", &recorderFace},
          &ProcessState::cytoTemplate};
}

}  // namespace tarnvisor
