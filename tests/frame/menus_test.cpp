// Menus, tool bars and texts held against the command tables of all documents that can be opened.
#include "frame/menus.h"

#include "assembly/assembly.h"
#include "charts/commandids.h"
#include "doppler/dopplerinput.h"
#include "frame/commandwords.h"
#include "frame/mainframe.h"
#include "imagedoc/commandids.h"
#include "results/commandids.h"
#include "sound/pacedsound.h"
#include "support/apptest.h"

namespace tarnvisor {
namespace {

using Ids = std::set<int32_t>;

void gather(const std::vector<MenuEntry>& entries, std::vector<int32_t>& ids) {
  for (const MenuEntry& entry : entries) {
    if (entry.kind == MenuEntry::Kind::Command) ids.push_back(entry.id);
    if (entry.kind == MenuEntry::Kind::RecentFiles)
      for (int32_t i = 0; i < 4; ++i) ids.push_back(cmd::RecentFile1 + i);
    gather(entry.entries, ids);
  }
}

std::vector<int32_t> idsOf(const std::vector<Menu>& menus) {
  std::vector<int32_t> ids;
  for (const Menu& menu : menus) gather(menu.entries, ids);
  return ids;
}

// Only ever posted by other commands.
const Ids kPosted{cmd::RedoTrace, cmd::AcquisitionChain, cmd::AcquisitionStartVelocity,
                  cmd::AcquisitionShowLive, cmd::AcquisitionStartCamera};

class Menus : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    writeProfile("[Settings]\nfloEN=1\nuser=x\n[ueyeP]\ncamera=simulated\n");
    makeApp();
    velocity = std::make_unique<DopplerInput>(
        *app, [](std::string&) { return std::make_unique<PacedSound>(simulatedSound(), SoundPace::Step); });
    ASSERT_TRUE(app->initInstance(options));
    frame = std::make_unique<CBasicMainFrame>(*app);
    gatherTables(nullptr);
    for (const auto& type : app->documents.types()) {
      if (!type->canOpen()) continue;
      CDocument* document = type->newDocument();
      ASSERT_NE(document, nullptr);
      EXPECT_FALSE(type->face().menus.empty()) << type->documentName() << " has no menus";
      gatherTables(type.get());
    }
  }
  ~Menus() override {
    if (app) (void)app->documents.closeAll();
    frame.reset();
    velocity.reset();
  }

  void gatherTables(const DocumentType* kind) {
    for (const CommandTarget* target : app->commandChain())
      for (const CommandTableBase* table = target ? target->commands() : nullptr; table;
           table = table->baseTable())
        for (const CommandRow& row : table->rows()) known[kind].emplace(row.id, row.text);
  }
  static std::string nameOf(const DocumentType* kind) { return kind ? kind->documentName() : "no document"; }
  // In the menus with a document of this kind in front.
  static std::vector<int32_t> menuIds(const DocumentType* kind) {
    return idsOf(menusOf(kind ? kind->documents().front().get() : nullptr));
  }
  static std::vector<int32_t> keysOnly(const DocumentType* kind) {
    return commandsWithKeysOnly(kind ? kind->documents().front().get() : nullptr);
  }

  std::unique_ptr<DopplerInput> velocity;
  std::unique_ptr<CBasicMainFrame> frame;
  std::map<const DocumentType*, std::map<int32_t, std::string>>
      known;  // ids and texts of a kind's whole chain
};

TEST_F(Menus, EachEntryHasAHandlerAndStandsOnce) {
  Ids all;
  for (const auto& [kind, commands] : known) {
    const std::vector<int32_t> ids = menuIds(kind);
    for (const int32_t id : ids) EXPECT_TRUE(commands.contains(id)) << id << " in " << nameOf(kind);
    EXPECT_EQ(Ids(ids.begin(), ids.end()).size(), ids.size()) << nameOf(kind);
    for (const auto& [id, text] : commands) all.insert(id);
    for (const PopupMenu& popup : kind ? kind->face().popups : std::vector<PopupMenu>{}) {
      std::vector<int32_t> entries;
      gather(popup.entries, entries);
      for (const int32_t id : entries) EXPECT_TRUE(commands.contains(id)) << id << " in " << popup.id;
    }
  }
  for (const ToolBarGroup& group : toolBarGroups(app->documents))
    for (const int32_t id : group.buttons) EXPECT_TRUE(all.contains(id)) << id;
  for (const int32_t popup : {kToolsPopup, kDisplayPopup})
    EXPECT_FALSE(popupMenuOf(app->documents, popup).empty()) << popup;
  EXPECT_TRUE(popupMenuOf(app->documents, 1).empty());
}

TEST_F(Menus, EachCommandIsInAMenuOrHasAButtonOrKeys) {
  const CommandDirectory directory(*app);
  Ids buttons;
  for (const ToolBarGroup& group : toolBarGroups(app->documents))
    buttons.insert(group.buttons.begin(), group.buttons.end());
  for (const auto& [kind, commands] : known) {
    const std::vector<int32_t> list = menuIds(kind);
    const std::vector<int32_t> keys = keysOnly(kind);
    Ids ids(list.begin(), list.end());
    ids.insert(keys.begin(), keys.end());
    ids.insert(kPosted.begin(), kPosted.end());
    for (const auto& [id, text] : commands)
      if (!text.empty() || !buttons.contains(id)) {
        EXPECT_THAT(ids, Contains(id)) << text << " in " << nameOf(kind);
      }
    for (const int32_t id : keys) EXPECT_STRNE(directory.words(id).keys, "") << id;
  }
}

TEST_F(Menus, EachCommandHasASentenceForTheStatusBarAndATip) {
  const CommandDirectory directory(*app);
  for (const auto& [id, words] : directory.all()) {
    EXPECT_THAT(words.status, ContainsRegex("^[A-Z].*\\.$"));
    EXPECT_STRNE(words.tip, "") << id;
  }
  for (const auto& [kind, commands] : known)
    for (const auto& [id, text] : commands) EXPECT_TRUE(directory.all().contains(id)) << id << " " << text;
  EXPECT_STREQ(directory.words(1).status, "");
  EXPECT_STREQ(directory.words(cmd::SaveImage).status, "Saves the present picture of the live video.")
      << "which goes on";
}

// Else a tip would tell of another command than the one that runs.
TEST_F(Menus, NoCommandHasTwoWordings) {
  std::map<int32_t, std::string> tips;
  const CommandDirectory directory(*app);
  for (const auto& [id, words] : directory.all()) tips[id] = words.status;
  for (const auto& type : app->documents.types())
    for (const CommandTableBase* table : type->face().tables)
      for (; table; table = table->baseTable())
        for (const CommandRow& row : table->rows())
          if (!row.words.isEmpty()) {
            EXPECT_EQ(row.words.status, tips[row.id]) << row.id;
          }
}

TEST_F(Menus, AnEntryThatIsOffSaysWhy) {
  const CommandDirectory directory(*app);
  for (const auto& type : app->documents.types()) {
    if (type->documents().empty()) continue;
    CDocument& front = *type->documents().front();
    for (const int32_t id : idsOf(menusOf(&front))) {
      const CommandState state = commandState(app->commandChain(&front), id);
      // Their windows come with the desktop.
      if (Ids{cmd::ViewExams, cmd::ExamsOfSubject, cmd::SelectProfile, cmd::OpenRemote}.contains(id))
        continue;
      if (!state.known || state.enabled) continue;
      EXPECT_FALSE(state.whyOff.empty() && !*directory.words(id).whyOff)
          << type->documentName() << ": " << state.text;
    }
  }
  EXPECT_EQ(commandState(app->commandChain(nullptr), cmd::FileSave).whyOff, "This needs an open document.");
}

TEST_F(Menus, EntriesStandInSentenceCaseAndScriptsGoByTheTextsAsTheyAre) {
  for (const auto& [text, shown] : {std::pair{"Select Subject...", "Select subject..."},
                                    {"Open C&ytoscan file...", "Open C&ytoscan file..."},
                                    {"FLO1 &Monitor", "FLO1 &monitor"},
                                    {"capillary width m&ethod ...", "Capillary width m&ethod..."},
                                    {"&Make ROI circular", "&Make ROI circular"}})
    EXPECT_EQ(shownCommandText({.text = text}), shown);
  EXPECT_EQ(shownCommandText({.text = "set re&gion", .words = {.shown = "&Fit"}}), "&Fit");
  EXPECT_EQ(shownCommandText({.text = "&Custom Filter", .words = {.asks = true}}), "&Custom filter...");
  for (const char* text : {"Open aquisition windows", "Open acquisition windows"})
    EXPECT_NE(app->mainFrame->commands()->find(text), nullptr) << text;
}

TEST_F(Menus, OpenOffersEverythingThenTheKindsInTheirKnownOrder) {
  const std::string filter = openFilter(documentTable());
  EXPECT_TRUE(filter.starts_with("Everything Tarnvisor reads|*.tv1;*.dtv;")) << filter;
  const std::vector<std::string> parts = split(filter, '|');
  EXPECT_EQ(parts[2], "Pictures");
  for (const char* read : {"*.jpeg", "*.png", "*.dcm", "*.mp4", "*.wav", "*.avi", "*.zzxy"})
    EXPECT_THAT(split(parts[1], ';'), Contains(read));
  EXPECT_TRUE(filter.ends_with(
      "|ZZ files|*.tv1;*.dtv;*.zz1;*.rst;*.zzl;*.zzfcf;*.zzxy;*.avi;*.raw|Images (*.tv1)|*.tv1|Videos (*.dtv)|*.dtv|AVI Videos (*.avi)|*.avi|Charts (*.zz1)|*.zz1|Results (*.rst)|*.rst|Linescans (*.zzl)|*.zzl|FCF (*.zzfcf)|*.zzfcf|XY charts (*.zzxy)|*.zzxy|Raw frames (*.raw)|*.raw|All files (*.*)|*.*||"))
      << filter;
}

TEST_F(Menus, NoShortcutStandsTwiceBeforeOneKindOfDocument) {
  const CommandDirectory directory(*app);
  for (const auto& [kind, commands] : known) {
    std::vector<int32_t> ids = menuIds(kind);
    for (const int32_t id : keysOnly(kind)) ids.push_back(id);
    std::map<std::string, int32_t> keys;
    for (const int32_t id : ids) {
      const char* own = directory.words(id).keys;
      if (!*own) continue;
      const auto [at, fresh] = keys.emplace(own, id);
      EXPECT_TRUE(fresh) << at->first << ": " << id << " and " << at->second << " in " << nameOf(kind);
    }
  }
  EXPECT_THAT(directory.shortcutList(), HasSubstr("Ctrl+S          Save\n"));
}

TEST_F(Menus, ToolBarGroupsOpenWithTheirChannelAndHaveIcons) {
  const CommandDirectory directory(*app);
  const std::vector<ToolBarGroup> groups = toolBarGroups(app->documents);
  const auto open = [&](int32_t camera = 1) {
    std::vector<int32_t> ids;
    for (const ToolBarGroup& group : groups)
      if (gateOpen(group, camera)) ids.push_back(group.id);
    return ids;
  };
  EXPECT_THAT(open(), ElementsAre(10000, 10004, 10027, 10007, 10011, 10014, 10022, 10012));
  EXPECT_THAT(open(0), ElementsAre(10000, 10004, 10007, 10011, 10014, 10022, 10012)) << "no camera";
  process.tarnvisorEnabled = 0;
  EXPECT_THAT(open(), ElementsAre(10000, 10004, 10012));
  process.tarnvisorEnabled = 1;
  process.vivocapEnabled = 0;
  EXPECT_THAT(open(), Not(Contains(10012)));
  process.cytoMode = 1;
  EXPECT_THAT(open(), Contains(10012)) << "the other word that opens the dynamic channel";
  for (const ToolBarGroup& group : groups)
    for (const int32_t id : group.buttons) EXPECT_STRNE(directory.words(id).icon, "") << id;
  EXPECT_FALSE(gateOpen(ToolBarGroup{}, 1));
}

TEST_F(Menus, TellHowACommandStands) {
  process.imageTemplate->newDocument();
  const auto chain = app->commandChain();
  const CommandState crosshair = commandState(chain, cmd::ShowCrosshair);
  EXPECT_THAT(crosshair,
              AllOf(Field(&CommandState::known, true), Field(&CommandState::enabled, true),
                    Field(&CommandState::ticked, true), Field(&CommandState::text, "&Show crosshair")));
  const CommandState undo = commandState(chain, cmd::Undo);
  EXPECT_THAT(undo, AllOf(Field(&CommandState::known, true), Field(&CommandState::enabled, false),
                          Field(&CommandState::ticked, false)));
  EXPECT_FALSE(commandState(chain, cmd::ExportResults).known);
}

TEST_F(Menus, ShortcutsAreListedInAForm) {
  host.fills.push_back([](Form& form) {
    EXPECT_EQ(form.title(), "Keyboard shortcuts");
    EXPECT_THAT(form.fields().front().value(), HasSubstr("Ctrl+F1"));
    return true;
  });
  app->runCommand(cmd::ShortcutList);
}

}  // namespace
}  // namespace tarnvisor
