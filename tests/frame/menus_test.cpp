// Menus, tool bars and texts held against the command tables of all documents that can be opened.
#include "frame/menus.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>

#include "assembly/assembly.h"
#include "frame/commandtexts.h"
#include "frame/mainframe.h"
#include "framework/commandids.h"
#include "support/apptest.h"

namespace tarnvisor {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

using Ids = std::set<int32_t>;

void gather(const std::vector<MenuEntry>& entries, std::vector<int32_t>& ids) {
  for (const MenuEntry& entry : entries) {
    if (entry.kind == MenuEntry::Kind::Command) ids.push_back(entry.id);
    if (entry.kind == MenuEntry::Kind::RecentFiles)
      for (int32_t i = 0; i < 4; ++i) ids.push_back(cmd::RecentFile1 + i);
    gather(entry.entries, ids);
  }
}

std::vector<int32_t> idsOf(MenuSet set) {
  std::vector<int32_t> ids;
  for (const Menu& menu : menusOf(set)) gather(menu.entries, ids);
  return ids;
}

// Only ever posted by other commands.
const Ids kPosted{cmd::AcquisitionChain, cmd::AcquisitionStartVelocity, cmd::AcquisitionShowLive,
                  cmd::AcquisitionStartCamera};

class Menus : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    writeProfile("[Settings]\nfloEN=1\nuser=x\n");
    ASSERT_TRUE(start());
    frame = std::make_unique<CBasicMainFrame>(*app);
    gatherTables(MenuSet::None);
    for (const auto& type : app->documents.types()) {
      if (!type->canOpen()) continue;
      CDocument* document = type->newDocument();
      ASSERT_NE(document, nullptr);
      EXPECT_NE(menuSetFor(document), MenuSet::None) << type->documentName() << " has no menus";
      gatherTables(menuSetFor(document));
    }
  }
  ~Menus() override {
    if (app) (void)app->documents.closeAll();
    frame.reset();
  }

  void gatherTables(MenuSet set) {
    for (const CommandTarget* target : app->commandChain())
      for (const CommandTableBase* table = target ? target->commands() : nullptr; table;
           table = table->baseTable())
        for (const CommandRow& row : table->rows()) known[set].emplace(row.id, row.text);
  }

  std::unique_ptr<CBasicMainFrame> frame;
  std::map<MenuSet, std::map<int32_t, std::string>> known;  // ids and texts of a kind's whole chain
};

TEST_F(Menus, EachEntryHasAHandlerAndStandsOnce) {
  for (const auto& [set, commands] : known) {
    const std::vector<int32_t> ids = idsOf(set);
    for (const int32_t id : ids) EXPECT_TRUE(commands.contains(id)) << id << " in " << static_cast<int>(set);
    EXPECT_EQ(Ids(ids.begin(), ids.end()).size(), ids.size()) << static_cast<int>(set);
  }
  std::vector<int32_t> others;
  std::vector<int32_t> overCharts;
  gather(popupMenuOf(kChartPopup), overCharts);
  for (const int32_t id : overCharts) EXPECT_TRUE(known[MenuSet::Chart].contains(id)) << id;
  for (const int32_t popup : {kToolsPopup, kDisplayPopup}) gather(popupMenuOf(popup), others);
  for (const ToolBarGroup& group : toolBarGroups())
    others.insert(others.end(), group.buttons.begin(), group.buttons.end());
  for (const int32_t id : others)
    EXPECT_TRUE(known[MenuSet::Image].contains(id) || known[MenuSet::Video].contains(id)) << id;
  EXPECT_TRUE(popupMenuOf(1).empty());
}

TEST_F(Menus, EachCommandIsInAMenuOrHasAButtonOrKeys) {
  Ids others = kPosted;
  others.insert(commandsWithKeysOnly().begin(), commandsWithKeysOnly().end());
  Ids buttons;
  for (const ToolBarGroup& group : toolBarGroups())
    buttons.insert(group.buttons.begin(), group.buttons.end());
  for (const auto& [set, commands] : known) {
    const std::vector<int32_t> list = idsOf(set);
    const Ids ids(list.begin(), list.end());
    for (const auto& [id, text] : commands) {
      const bool reachable =
          ids.contains(id) || others.contains(id) || (text.empty() && buttons.contains(id));
      EXPECT_TRUE(reachable) << id << " " << text << " in " << static_cast<int>(set);
    }
  }
  for (const int32_t id : commandsWithKeysOnly()) EXPECT_STRNE(commandText(id).shortcut, "") << id;
}

TEST_F(Menus, EachCommandHasASentenceForTheStatusBarAndATip) {
  Ids seen;
  for (const CommandText& text : commandTexts()) {
    EXPECT_TRUE(seen.insert(text.id).second) << text.id << " has two texts";
    EXPECT_THAT(text.status, ContainsRegex("^[A-Z].*\\.$"));
    EXPECT_STRNE(text.tip, "") << text.id;
  }
  for (const auto& [set, commands] : known)
    for (const auto& [id, text] : commands) EXPECT_TRUE(seen.contains(id)) << id << " " << text;
  EXPECT_STREQ(commandText(1).status, "");
}

TEST_F(Menus, NoShortcutStandsTwiceBeforeOneKindOfDocument) {
  for (const auto& [set, commands] : known) {
    std::vector<int32_t> ids = idsOf(set);
    ids.insert(ids.end(), commandsWithKeysOnly().begin(), commandsWithKeysOnly().end());
    std::map<std::string, int32_t> keys;
    for (const int32_t id : ids) {
      if (!*commandText(id).shortcut) continue;
      const auto [at, fresh] = keys.emplace(commandText(id).shortcut, id);
      EXPECT_TRUE(fresh) << at->first << ": " << id << " and " << at->second;
    }
  }
  EXPECT_THAT(shortcutListText(), HasSubstr("Ctrl+S          Save\n"));
}

TEST_F(Menus, ToolBarGroupsHaveTheirCountsGatesAndIcons) {
  struct Case {
    int32_t id;
    size_t buttons;
    bool atFull, withoutImage, withoutCamera, withoutDynamic;
  };
  const Case cases[] = {
      {10000, 13, true, true, true, true},  {10004, 1, true, true, true, true},
      {10007, 10, true, false, true, true}, {10011, 15, true, false, true, true},
      {10014, 6, true, false, true, true},  {10027, 2, true, false, false, true},
      {10022, 4, true, false, true, true},  {10012, 6, true, true, true, false},
  };
  ASSERT_EQ(toolBarGroups().size(), std::size(cases));
  for (size_t i = 0; i < std::size(cases); ++i) {
    const ToolBarGroup& group = toolBarGroups()[i];
    const Case& c = cases[i];
    EXPECT_EQ(group.id, c.id);
    EXPECT_EQ(group.buttons.size(), c.buttons) << c.id;
    EXPECT_EQ(gateOpen(group, 1), c.atFull) << c.id;
    process.tarnvisorEnabled = 0;
    EXPECT_EQ(gateOpen(group, 1), c.withoutImage) << c.id;
    process.tarnvisorEnabled = 1;
    EXPECT_EQ(gateOpen(group, 0), c.withoutCamera) << c.id;
    process.vivocapEnabled = 0;
    EXPECT_EQ(gateOpen(group, 1), c.withoutDynamic) << c.id;
    process.cytoMode = 1;
    EXPECT_TRUE(gateOpen(group, 1) == c.atFull) << c.id << ": the other word that opens the dynamic channel";
    process.cytoMode = 0;
    process.vivocapEnabled = 1;
    for (const int32_t id : group.buttons) EXPECT_STRNE(commandText(id).icon, "") << id;
  }
  ToolBarGroup none = toolBarGroups()[0];
  none.buttons.clear();
  EXPECT_FALSE(gateOpen(none, 1));
}

TEST_F(Menus, TellHowACommandStands) {
  process.imageTemplate->newDocument();
  const auto chain = app->commandChain();
  const CommandState crosshair = commandState(chain, cmd::ShowCrosshair);
  EXPECT_TRUE(crosshair.known && crosshair.enabled && crosshair.ticked);
  EXPECT_EQ(crosshair.text, "&Show Crosshair");
  const CommandState undo = commandState(chain, cmd::Undo);
  EXPECT_TRUE(undo.known);
  EXPECT_FALSE(undo.enabled || undo.ticked);
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
