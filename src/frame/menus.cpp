#include "frame/menus.h"

#include <algorithm>

#include "app/processstate.h"
#include "frame/commandids.h"
#include "frame/commandwords.h"

namespace tarnvisor {

namespace {
using K = MenuEntry::Kind;
}

Menu fileMenu(const MenuEntries& ofDocument) {
  return {
      "&File",
      MenuEntries{cmd::FileOpen, cmd::Import, cmd::OpenCytoscan, cmd::OpenRemote, cmd::FileClose} +
          ofDocument +
          MenuEntries{K::Separator, cmd::ExportPicture, cmd::ExportMetafile, K::Separator, cmd::DataFolder,
                      cmd::SelectProfile, K::Separator, K::RecentFiles, K::Separator, cmd::AppExit}};
}

Menu subjectMenu() {
  return {"&Subject",
          {cmd::SelectSubject, cmd::NewExamination, cmd::ViewExams, cmd::ExamsOfSubject, K::Separator,
           cmd::CourseOfResults, cmd::ExamReport, cmd::ProcessResults, cmd::ExportStudy, cmd::StudySummary}};
}

Menu acquisitionMenu() {
  return {"A&cquisition",
          {cmd::LiveVideo, cmd::Flo1Monitor, cmd::OpenAcquisitionWindows, cmd::HardwareSettings, K::Separator,
           cmd::RecordSequence, cmd::ImageSequence, cmd::SaveImage, cmd::Trigger, K::Separator,
           cmd::RecordFolder}};
}

MenuEntries barEntries() {
  return {cmd::Toolbar,
          cmd::RecordBar,
          cmd::StatusBar,
          cmd::StatusWindow,
          cmd::MarksDock,
          cmd::ExamDock,
          {"&Groups of the tool bar", {cmd::ToggleOpsGroup1, cmd::ToggleOpsGroup2, cmd::ToggleOpsGroup3}},
          K::Separator,
          cmd::ExpertMode,
          cmd::AlwaysOnTop};
}

Menu windowMenu() {
  return {"&Window", {cmd::WindowCascade, cmd::WindowTile, cmd::CloseAll, K::Separator, K::Windows}};
}

Menu helpMenu() {
  return {"&Help", {cmd::HelpContents, cmd::ShortcutList, cmd::Demonstration, K::Separator, cmd::AppAbout}};
}

MenuEntries zoomEntries() { return {cmd::ZoomIn, cmd::ZoomOut, cmd::ZoomFit, cmd::ZoomActualSize}; }

std::vector<Menu> plainMenus(const MenuEntries& ofFile, const MenuEntries& ofEdit) {
  std::vector<Menu> menus{fileMenu(ofFile)};
  if (!ofEdit.empty()) menus.push_back({"&Edit", ofEdit});
  for (const Menu& menu :
       {Menu{"&View", barEntries()}, subjectMenu(), acquisitionMenu(), windowMenu(), helpMenu()})
    menus.push_back(menu);
  return menus;
}

namespace {

const DocumentFace& faceOf(const CDocument* front) {
  static const DocumentFace none;
  return front && front->type() ? front->type()->face() : none;
}

}  // namespace

const std::vector<Menu>& menusOf(const CDocument* front) {
  static const std::vector<Menu> none = plainMenus({}, {});
  const DocumentFace& face = faceOf(front);
  return face.menus.empty() ? none : face.menus;
}

int32_t popupMenuFor(const CDocument* front) {
  const DocumentFace& face = faceOf(front);
  return face.popups.empty() ? kToolsPopup : face.popups.front().id;
}

const MenuEntries& popupMenuOf(const DocumentManager& documents, int32_t menuId) {
  static const MenuEntries nothing;
  for (const auto& type : documents.types())
    for (const PopupMenu& popup : type->face().popups)
      if (popup.id == menuId) return popup.entries;
  return nothing;
}

std::vector<int32_t> commandsWithKeysOnly(const CDocument* front) {
  std::vector<int32_t> ids{cmd::RunStop, cmd::Stop, cmd::MainPopup, cmd::SecondPopup, cmd::RestoreMainMenu};
  const DocumentFace& face = faceOf(front);
  ids.insert(ids.end(), face.keysOnly.begin(), face.keysOnly.end());
  return ids;
}

CommandState commandState(std::span<CommandTarget* const> chain, int32_t id) {
  for (const CommandTarget* target : chain) {
    const CommandTableBase* table = target ? target->commands() : nullptr;
    const CommandRow* row = table ? table->find(id) : nullptr;
    if (!row) continue;
    CommandState state{true, row->enabled(*target), row->ticked(*target), shownCommandText(*row)};
    if (!state.enabled) state.whyOff = target->whyOff(id, row->words.whyOff);
    return state;
  }
  const bool hasDocument = std::ranges::any_of(
      chain, [](const CommandTarget* target) { return target && target->documentOfCommands(); });
  return {.whyOff = hasDocument ? "This is for another kind of document than the one in front."
                                : "This needs an open document."};
}

std::vector<ToolBarGroup> toolBarGroups(const DocumentManager& documents) {
  using B = ToolBarGroup::Bar;
  using G = ToolBarGroup::Gate;
  std::vector<ToolBarGroup> groups{
      {10000,
       B::Main,
       G::Always,
       {cmd::FileOpen, cmd::FileSave, cmd::FilePrint, cmd::FilePrintPreview, cmd::Import, cmd::Export,
        cmd::Undo, cmd::Redo, cmd::Copy, cmd::Paste, cmd::SelectSubject, cmd::ViewExams, cmd::HelpContents}},
      {10004, B::Main, G::Velocity, {cmd::Flo1Monitor}},
      {10027, B::Main, G::Camera, {cmd::LiveVideo, cmd::RunStop}},
  };
  for (const auto& type : documents.types())
    for (const ToolBarGroup& group : type->face().toolBars)
      if (std::ranges::find(groups, group.id, &ToolBarGroup::id) == groups.end()) groups.push_back(group);
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
