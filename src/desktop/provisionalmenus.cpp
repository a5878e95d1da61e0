// The menus of the commands that exist.
#include "app/basicapp.h"
#include "desktop/frametables.h"
#include "framework/commandids.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

using Kind = MenuItem::Kind;

std::vector<MenuItem> items(std::initializer_list<int32_t> ids) {
  std::vector<MenuItem> list;
  for (const int32_t id : ids) list.push_back({id ? Kind::Command : Kind::Separator, id, {}, {}});
  return list;
}

std::vector<MenuModel> menus() {
  std::vector<MenuItem> file =
      items({cmd::FileOpen, cmd::FileSave, cmd::FileSaveAs, 0, cmd::Import, cmd::Export, 0});
  file.push_back({Kind::RecentFiles, 0, {}, {}});
  for (const MenuItem& item : items({0, cmd::AppExit})) file.push_back(item);
  std::vector<MenuItem> window = items({cmd::WindowCascade, cmd::WindowTile, cmd::CloseAll, 0});
  window.push_back({Kind::Windows, 0, {}, {}});
  return {{"&File", file},
          {"&Edit", items({cmd::Undo, cmd::DuplicateImage, 0, cmd::Notes, cmd::ClearAllDimensions})},
          {"&View", items({cmd::ZoomIn, cmd::ZoomOut, cmd::ZoomFit, 0, cmd::ShowCrosshair, cmd::Grid, 0,
                           cmd::ExpertMode, cmd::AlwaysOnTop})},
          {"&Image", items({cmd::AdjustBrightnessContrast, cmd::Threshold, cmd::Equalise, cmd::Negative, 0,
                            cmd::HighPassFilter, cmd::LowPassFilter, cmd::Blur})},
          {"&Analysis", items({cmd::FindCapillaries, cmd::Processing})},
          {"&Subject", items({cmd::SelectSubject, cmd::ViewExams, cmd::ProcessResults})},
          {"&Window", window},
          {"&Help", items({cmd::HelpContents, cmd::AppAbout})}};
}

CommandWords words(int32_t id) {
  switch (id) {
    case cmd::FileOpen:
      return {"Open", "Opens documents.", "Ctrl+O", "open"};
    case cmd::FileSave:
      return {"Save", "Saves the document in front.", "Ctrl+S", "save"};
    case cmd::Undo:
      return {"Undo", "Takes the last processing of the image back.", "Ctrl+Z", "undo"};
    case cmd::HelpContents:
      return {"Help", "Opens the manual at the page of the window in front.", "F1", "help"};
    case cmd::AppExit:
      return {"Exit", "Ends the program, asking about documents that have changed.", "Ctrl+Q", ""};
    default:
      return {};
  }
}

constexpr const char* kSection = "MainWindow";

Rect readPlacement(Size screen) {
  const int32_t left = settings.getInt(kSection, "left", 0);
  const int32_t top = settings.getInt(kSection, "top", 0);
  return {left, top, left + settings.getInt(kSection, "w", screen.width),
          top + settings.getInt(kSection, "h", screen.height)};
}

void storePlacement(const Rect& window, bool minimised) {
  if (minimised) return;
  settings.setInt(kSection, "left", window.left);
  settings.setInt(kSection, "top", window.top);
  settings.setInt(kSection, "w", window.width());
  settings.setInt(kSection, "h", window.height());
}

std::vector<std::string> recentFiles() {
  std::vector<std::string> labels;
  for (const char* key : {"File1", "File2", "File3", "File4"})
    if (const std::string path = settings.getString("Recent File List", key, ""); !path.empty())
      labels.push_back(path);
  return labels;
}

}  // namespace

FrameTables provisionalTables(CBasicApp& app) {
  FrameTables tables;
  tables.menus = [](const CDocument*) { return menus(); };
  tables.popupMenu = [](int32_t) { return items({cmd::ZoomIn, cmd::ZoomOut}); };
  tables.state = [&app] {
    FrameState state;
    state.bars = {{"Main",
                   false,
                   app.expertMode != 0,
                   {{cmd::FileOpen, cmd::FileSave}, {cmd::Undo}, {cmd::SelectSubject, cmd::HelpContents}}}};
    return state;
  };
  tables.words = words;
  tables.commands = {cmd::FileOpen, cmd::FileSave, cmd::Undo, cmd::HelpContents, cmd::AppExit};
  tables.recentFiles = recentFiles;
  tables.readPlacement = readPlacement;
  tables.storePlacement = storePlacement;
  return tables;
}

}  // namespace tarnvisor
