// What a new kind of document gets by its row in the document table alone.
#include <gmock/gmock.h>

#include "assembly/assembly.h"
#include "base/clock.h"
#include "batch/runner.h"
#include "frame/commandwords.h"
#include "frame/mainframe.h"
#include "frame/menus.h"
#include "support/apptest.h"
#include "support/recordingcanvas.h"
#include "trial/remark.h"

namespace tarnvisor {
namespace {

std::string told(const MenuEntries& entries) {
  std::string text;
  for (const MenuEntry& entry : entries)
    text += format("%i %s(", entry.id, entry.title) + told(entry.entries) + ")";
  return text;
}

class TrialKind : public AppTest {
 protected:
  TrialKind() : rows(documentTable().begin(), documentTable().end()) {
    registerStoredClasses();
    rows.push_back(remarkKind());
    startWith(rows);
  }
  ~TrialKind() override { frame.reset(); }

  void startWith(std::span<const DocumentRow> table) {
    frame.reset();
    options.documentTable = table;
    EXPECT_TRUE(startWithData());
    frame = std::make_unique<CBasicMainFrame>(*app);
  }
  RemarkDoc& makeRemark(std::vector<std::string> lines) {
    auto& made = *static_cast<RemarkDoc*>(app->documents.typeFor("x.trm")->newDocument());
    made.lines = std::move(lines);
    return made;
  }
  // What people meet of each kind.
  std::vector<std::string> faces() const {
    std::vector<std::string> all;
    for (const auto& type : app->documents.types()) {
      for (const Menu& menu : type->face().menus)
        all.push_back(type->documentName() + menu.title + told(menu.entries));
      for (const PopupMenu& popup : type->face().popups)
        all.push_back(format("%i ", popup.id) + told(popupMenuOf(app->documents, popup.id)));
    }
    const CommandDirectory directory(*app);
    for (const auto& [id, words] : directory.all())
      all.push_back(format("%i %s %s %s", id, words.tip, words.status, words.keys));
    for (const ToolBarGroup& group : toolBarGroups(app->documents)) all.push_back(format("bar %i", group.id));
    return all;
  }

  std::vector<DocumentRow> rows;
  std::unique_ptr<CBasicMainFrame> frame;
};

TEST_F(TrialKind, IsMadeSavedOpenedAndDrawn) {
  RemarkDoc& made = makeRemark({"pale", "cold"});
  EXPECT_EQ(made.title(), "Remark1");
  host.paths.emplace_back(folder.file("a"));
  ASSERT_EQ(app->runCommand(cmd::FileSaveAs), CommandResult::Done);
  ASSERT_TRUE(app->documents.closeAll());
  const auto* opened = dynamic_cast<RemarkDoc*>(app->openDocumentFile(folder.file("a.trm")));
  ASSERT_NE(opened, nullptr);
  EXPECT_THAT(opened->lines, ElementsAre("pale", "cold"));
  RecordingCanvas canvas;
  opened->views().front()->draw(canvas);
  EXPECT_THAT(canvas.calls, Contains("text 4,24 202020 \"cold\""));
  ASSERT_TRUE(replaceFile(folder.file("b.trm"), std::string_view("\2\0\0\0", 4)));
  EXPECT_EQ(app->openDocumentFile(folder.file("b.trm")), nullptr);
  EXPECT_THAT(host.messages, Contains(HasSubstr("newer version")));
}

TEST_F(TrialKind, AnswersToItsMenuTexts) {
  const FixedClock clock(794000000);
  RemarkDoc& made = makeRemark({});
  EXPECT_EQ(routeCommand(app->commandChain(), "upper case"), CommandResult::Disabled);
  EXPECT_EQ(routeCommand(app->commandChain(), "Add date"), CommandResult::Done);
  EXPECT_EQ(routeCommand(app->commandChain(), "upper case"), CommandResult::Done);
  EXPECT_THAT(made.lines, ElementsAre("TUESDAY, FEBRUARY 28, 1995, 19:33:20"));
  EXPECT_TRUE(made.isModified());
  made.setModified(false);
}

TEST_F(TrialKind, BringsItsMenusWordsFilesAndHelpPage) {
  const RemarkDoc& made = makeRemark({});
  EXPECT_EQ(told(menusOf(&made)[1].entries), "34901 ()34902 ()");
  EXPECT_EQ(popupMenuFor(&made), kRemarkPopup);
  EXPECT_EQ(told(popupMenuOf(app->documents, kRemarkPopup)), "34901 ()34902 ()");
  EXPECT_THAT(CommandDirectory(*app).shortcutList(), HasSubstr("Ctrl+Alt+D      Add the date\n"));
  EXPECT_THAT(openFilter(rows), HasSubstr(";*.zzxy;*.trm;*.avi;*.raw|"));
  EXPECT_THAT(openFilter(rows), HasSubstr("|Raw frames (*.raw)|*.raw|Remarks (*.trm)|*.trm|All files"));
  EXPECT_STREQ(made.type()->face().files[0].mimeType, "application/x-tarnvisor-remark");
  EXPECT_STREQ(made.type()->face().helpPage, "remark");
}

TEST_F(TrialKind, ScriptsRunItsCommandsAndExportIt) {
  ScriptHost script;
  const HostScope scope(script.ports);
  ScriptRunner runner(*app, script, false);
  makeRemark({"pale"});
  const std::string beside = folder.path();
  std::vector<Step> steps;
  ASSERT_EQ(parseScript("save " + beside + "a.trm\nclose\nopen " + beside +
                            "a.trm\ncommand \"Upper case\"\nexport " + beside +
                            "a.txt\nexport a.csv\nprint traces\n",
                        "test", steps),
            "");
  std::string why;
  for (const Step& step : steps) why += runner.runStep(step).why + "|";
  EXPECT_EQ(why, "|||||a remark is exported as .txt|a remark has no traces|");
  EXPECT_EQ(readWholeText(folder.file("a.txt")), "PALE\r\n");
}

TEST_F(TrialKind, LeavesTheOthersAsTheyAre) {
  const std::vector<std::string> with = faces();
  startWith(documentTable());
  EXPECT_THAT(with, IsSupersetOf(faces()));
  EXPECT_TRUE(CommandDirectory(*app).words(cmd::AddDate).isEmpty()) << "the number is others' too";
  EXPECT_THAT(popupMenuOf(app->documents, kRemarkPopup), IsEmpty());
}

}  // namespace
}  // namespace tarnvisor
