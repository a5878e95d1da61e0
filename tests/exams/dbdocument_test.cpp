#include "exams/dbdocument.h"

#include <filesystem>

#include "archive/archive.h"
#include "base/clock.h"
#include "exams/resultfigures.h"
#include "exams/subjectselection.h"
#include "support/apptest.h"

namespace tarnvisor {
namespace {

struct ImageDocument : CdbDocument, AutomaticAnalysis {
  bool isMarked() const override { return resultText == "marked"; }
  bool analyseAutomatically() override {
    ++analysed;
    if (resultText == "bad") return false;
    resultText = "7 loops";
    setModified();
    return true;
  }
  int analysed = 0;
};

class Selection : public AppTest {
 protected:
  void SetUp() override {
    options.documentTable = table;
    writeProfile("[Settings]\nuser=Dr. A\nstation=room 4\n");
    ASSERT_TRUE(startWithData());
    (void)posted();
    refreshes = 0;
    exams->listen(this, [this] { ++refreshes; });
  }
  void TearDown() override { app->documents.closeAll(); }  // as the main frame does at the end
  // Makes and selects a subject's exam; its folder too.
  int32_t selectNewExam(const std::string& subject, const std::string& examFolder) {
    app->db->newSubject(subject);
    exams->selectSubject(subject, "");
    EXPECT_TRUE(makeFolderPath(app->dataFolder + examFolder));
    const int32_t exam = app->db->newExam(subject, "site", "", examFolder);
    exams->selectExam(exam, examFolder);
    return exam;
  }
  void selectNothing() { exams->clear(); }
  std::string inExam(const std::string& name) const {
    return app->dataFolder + exams->examFolder() + "/" + name;
  }
  std::string recordFolder() const { return settings.getString("directories", "recorddir", ""); }

  std::vector<DocumentRow> table{
      {DocumentRow::Gate::Image,
       {1, "\nImage\nImage\nImages (*.tv1)\n.tv1\nA\nB", "D", "V", "F",
        [] { return std::unique_ptr<CDocument>(std::make_unique<ImageDocument>()); },
        [](CDocument& d) { return std::make_unique<CView>(d); }},
       &ProcessState::imageTemplate}};
  int refreshes = 0;
};

TEST_F(Selection, BindsADocumentAtItsFirstSaveForGood) {
  const int32_t first = selectNewExam("anna", "e1");
  CdbDocument document;
  document.onNewDocument();
  document.resultText = "10 loops";
  const std::string path = inExam("x.tv1");
  ASSERT_TRUE(document.onSaveDocument(path));
  EXPECT_EQ(document.patientId, "anna");
  EXPECT_EQ(document.examIdOfDoc, first);
  EXPECT_EQ(document.isBound, 1);
  EXPECT_EQ(std::tie(document.userLabel, document.stationId, document.stationIdFirst),
            std::make_tuple("Dr. A", "room 4", "room 4"));
  const int32_t second = selectNewExam("berta", "e2");
  settings.setString("Settings", "station", "room 9");
  settings.setString("Settings", "user", "B");
  document.resultText = "12 loops";
  SqliteDatabase(app->dbPath).execute("update results set created='2000-01-01 00:00:00';");
  ASSERT_TRUE(document.onSaveDocument(path));
  EXPECT_EQ(document.patientId, "anna");
  EXPECT_EQ(document.stationId, "room 4");
  EXPECT_EQ(document.userLabel, "B") << "only the user is of the last save";
  EXPECT_THAT(app->db->resultsOf(second), IsEmpty());
  const auto rows = app->db->resultsOf(first);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].filename, "x.tv1");
  EXPECT_EQ(rows[0].result, "12 loops");
  EXPECT_GT(rows[0].created, "2020");
  document.resultText.clear();
  document.updateResult(path);
  EXPECT_EQ(app->db->resultsOf(first)[0].result, "") << "a number that no longer holds is not left behind";
}

TEST_F(Selection, WhoeverShowsTheResultsIsToldOfEachThatIsWritten) {
  selectNewExam("anna", "e1");
  CdbDocument document;
  document.onNewDocument();
  ExamList list;
  exams->listen(this, [&list] { list.refresh(); });
  ASSERT_TRUE(document.onSaveDocument(inExam("x.tv1")));
  ASSERT_EQ(list.results().size(), 1u);
  document.resultText = "10 loops";
  document.updateResult(inExam("x.tv1"));
  EXPECT_EQ(list.results()[0].result, "10 loops");
  exams->forget(this);
}

TEST_F(Selection, AnExamsFolderThatHasGoneIsMadeAgainOrAnotherIsChosen) {
  selectNewExam("anna", "e1");
  ASSERT_TRUE(std::filesystem::remove(app->dataFolder + "e1"));
  CdbDocument document;
  document.onNewDocument();
  document.setTitle("x");
  host.answers = {Answer::Cancel};
  EXPECT_FALSE(document.saveAs());
  EXPECT_THAT(host.messages.back(), HasSubstr("The folder of x is missing: " + app->dataFolder + "e1/"));
  host.answers = {Answer::No};
  host.paths = {std::nullopt};
  EXPECT_FALSE(document.saveAs());
  host.answers = {Answer::Yes};
  host.paths = {inExam("x")};
  EXPECT_TRUE(document.saveAs());
}

TEST_F(Selection, AnIdThatDiffersByItsCapitalsAloneIsAskedAbout) {
  ASSERT_TRUE(app->db->newSubject("DEMO"));
  SubjectDialog dialog;
  dialog.id = "demo";
  host.answers = {Answer::Cancel, Answer::Yes};
  EXPECT_FALSE(dialog.addAsNewId());
  EXPECT_TRUE(dialog.addAsNewId());
  EXPECT_EQ(dialog.id, "DEMO");
  EXPECT_FALSE(app->db->readSubject("demo"));
  dialog.id = "demo";
  host.answers = {Answer::No};
  EXPECT_TRUE(dialog.addAsNewId());
  EXPECT_EQ(exams->subjectId(), "demo");
}

TEST_F(Selection, ANewExaminationNeedsASite) {
  ASSERT_TRUE(app->db->newSubject("anna"));
  exams->selectSubject("anna", "");
  EXPECT_FALSE(makeExamination(" ", ""));
  EXPECT_THAT(host.messages.back(), HasSubstr("needs a site"));
  EXPECT_THAT(app->db->examsOf("anna"), IsEmpty());
}

TEST_F(Selection, AStartBeginsInTheDataFolder) {
  selectNewExam("anna", "e1");
  app->exitInstance();
  ASSERT_TRUE(startWithData());
  EXPECT_EQ(process.recordDir, app->dataFolder);
}

TEST_F(Selection, LeavesADocumentSavedWithoutExamForALaterSave) {
  selectNothing();
  const std::string path = folder.file("x.tv1");
  {
    CdbDocument document;
    document.onNewDocument();
    ASSERT_TRUE(document.onSaveDocument(path));
    EXPECT_EQ(document.examIdOfDoc, -1);
  }
  const int32_t exam = selectNewExam("anna", "e1");
  EXPECT_THAT(app->db->resultsOf(exam), IsEmpty());
  CdbDocument again;
  ASSERT_TRUE(again.onOpenDocument(path));
  EXPECT_EQ(again.isBound, 1) << "as all that was loaded";
  ASSERT_TRUE(again.onSaveDocument(inExam("x.tv1")));
  EXPECT_EQ(again.patientId, "anna");
  EXPECT_EQ(app->db->resultsOf(exam).size(), 1u);
}

TEST_F(Selection, DocumentsAreSavedWithoutADatabaseToo) {
  app->closeDatabase();
  CdbDocument document;
  document.onNewDocument();
  EXPECT_TRUE(document.onSaveDocument(folder.file("x.tv1")));
  SubjectDialog dialog;
  dialog.typeId("a");
  dialog.addAsNewId();
  dialog.saveDetails();
  dialog.finish(SubjectDialog::Result::ViewExaminations);
  EXPECT_THAT(dialog.offered(), IsEmpty());
  ExamList list;
  list.refresh();
  EXPECT_THAT(list.exams(), IsEmpty());
  EXPECT_FALSE(startNewExamination("s", ""));
  runProcessResults();
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_THAT(host.messages.back(), HasSubstr("No examination is selected"));
}

TEST_F(Selection, StoresADocumentsFieldsInOrder) {
  const std::string strings = "\3P-1" + std::string("\7\0\0\0", 4) + "\2me\6result";
  const std::string old = std::string("\1\0\0\0\4\0\0\0", 8) + strings;
  const std::string path = folder.file("x.tv1");
  ASSERT_TRUE(replaceFile(path, std::string_view(old)));
  CdbDocument document;
  ASSERT_TRUE(document.onOpenDocument(path));
  EXPECT_EQ(document.saveCount, 4);
  EXPECT_EQ(document.patientId, "P-1");
  EXPECT_EQ(document.examIdOfDoc, 7);
  EXPECT_EQ(document.userLabel, "me");
  EXPECT_EQ(document.resultText, "result");
  EXPECT_EQ(document.isBound, 1);
  EXPECT_EQ(document.stationId, "old file. unknown.");
  EXPECT_EQ(document.stationIdFirst, "old file. unknown.");
  ASSERT_TRUE(document.onSaveDocument(path));
  EXPECT_EQ(readWholeText(path), std::string("\2\0\0\0\5\0\0\0", 8) + "\3P-1" + std::string("\7\0\0\0", 4) +
                                     "\5Dr. A\6result\22old file. unknown.\22old file. unknown.");
  document.onNewDocument();
  EXPECT_EQ(document.saveCount, 0);
  EXPECT_EQ(document.examIdOfDoc, -1);
  EXPECT_EQ(document.isBound, 0);
  EXPECT_THAT((std::array{document.patientId, document.userLabel, document.resultText}), Each(IsEmpty()));
}

TEST_F(Selection, OffersAPathInTheExamsFolderFromTheTitle) {
  selectNothing();
  CDocument* made = process.imageTemplate->newDocument();
  ASSERT_NE(made, nullptr);
  auto& document = static_cast<CdbDocument&>(*made);
  const std::pair<const char*, const char*> cases[] = {{"Image 1", "Image_1.tv1"}, {"a#b", "a.tv1"},
                                                       {"50%;", "50.tv1"},         {"left/right", "left.tv1"},
                                                       {"C:\\x", "C:.tv1"},        {"#", ".tv1"}};
  for (const auto& [title, name] : cases) {
    document.setTitle(title);
    EXPECT_EQ(document.defaultPathName(), name);
  }
  document.setTitle("a b");
  const int32_t exam = selectNewExam("anna", "e1");
  EXPECT_EQ(document.defaultPathName(), app->dataFolder + "e1/a_b.tv1") << "the selected exam";
  selectNewExam("berta", "e2");
  document.patientId = "anna";
  document.examIdOfDoc = exam;
  EXPECT_EQ(document.defaultPathName(), app->dataFolder + "e1/a_b.tv1") << "its own exam";
  document.patientId = "berta";
  EXPECT_EQ(document.defaultPathName(), "a_b.tv1") << "the exam is of another subject";
}

TEST_F(Selection, ADataFolderThatVanishesIsSaidAndLosesNothing) {
  selectNewExam("anna", "e1");
  CDocument* d = process.imageTemplate->newDocument();
  d->setModified();
  host.paths.push_back(d->defaultPathName());
  std::filesystem::remove_all(app->dataFolder);
  auto told = [&, before = host.messages.size()]() mutable {
    const bool more = host.messages.size() > before;
    before = host.messages.size();
    return more;
  };
  host.answers.push_back(Answer::No);  // the folder isn't made again
  EXPECT_FALSE(d->save());
  EXPECT_TRUE(told());
  EXPECT_TRUE(d->isModified());
  host.answers.push_back(Answer::Cancel);
  EXPECT_FALSE(startNewExamination("left", ""));
  EXPECT_TRUE(told());
  EXPECT_EQ(app->documents.active(), d);
  EXPECT_EQ(app->openDocumentFile(app->dataFolder + "e1/x.tv1"), nullptr);
  EXPECT_TRUE(told());
  SubjectDialog dialog;
  dialog.typeId("ben");
  dialog.addAsNewId();
  EXPECT_EQ(exams->subjectId(), "anna");
  d->setModified(false);
}

TEST_F(Selection, MakesNamesFromADocumentsOwn) {
  CdbDocument document;
  document.setPathName("/data/left ring.x y.tv1");
  EXPECT_EQ(document.setBaseFileName(" blood flow.zz1"), "/data/left-ring.x-y-blood-flow.zz1");
}

TEST_F(Selection, DialogAddsChangesTouchesAndClears) {
  SubjectDialog dialog;
  dialog.typeId("study 7 b");
  dialog.addAsNewId();
  EXPECT_EQ(exams->subjectId(), "study_7_b");
  EXPECT_EQ(exams->subjectName(), " ");
  dialog.name = "Ann";
  dialog.surname = "Lee";
  dialog.comment = "cold hands";
  dialog.saveDetails();
  EXPECT_EQ(exams->subjectName(), "Ann Lee");
  EXPECT_EQ(app->db->readSubject("study_7_b")->comments, "cold hands");
  ASSERT_TRUE(app->db->updateSubject("study_7_b", "Ann", "Lee", "allergic to oil"));  // another program
  dialog.name = "Anna";
  EXPECT_TRUE(dialog.saveDetails());
  EXPECT_EQ(app->db->readSubject("study_7_b")->comments, "allergic to oil") << "what nobody changed here";
  dialog.name = "Ann";
  EXPECT_TRUE(dialog.saveDetails());
  app->db->newSubject("later");
  SqliteDatabase(app->dbPath)
      .execute(
          "update patients set lastused='2000-01-01' where id='study_7_b';update patients set lastused='2001-01-01' where id='later';");
  dialog.finish(SubjectDialog::Result::ViewExaminations);
  EXPECT_THAT(app->db->recentSubjects(), ElementsAre("study_7_b", "later"));
  EXPECT_EQ(exams->subjectId(), "study_7_b");
  exams->selectExam(3, "f");
  refreshes = 0;
  dialog.finish(SubjectDialog::Result::Cancel);
  EXPECT_THAT((std::array{exams->subjectId(), exams->subjectName(), exams->examFolder()}), Each(IsEmpty()));
  EXPECT_EQ(exams->examId(), -1);
  EXPECT_EQ(refreshes, 1);
}

TEST_F(Selection, NewExaminationMakesFolderAndRow) {
  app->db->newSubject("anna lee");
  exams->selectSubject("anna lee", "");
  ASSERT_NE(process.imageTemplate->newDocument(), nullptr);
  refreshes = 0;
  const std::string full = app->dataFolder + "anna_lee-left_ring";
  for (const int32_t id : {1, 2}) {
    const std::string suffix = id == 1 ? "" : "-2";
    EXPECT_TRUE(startNewExamination("left ring", "cold"));
    EXPECT_EQ(exams->examId(), id);
    EXPECT_EQ(exams->examFolder(), "anna_lee-left_ring" + suffix) << "a follow-up has a folder of its own";
    EXPECT_THAT(log(),
                HasSubstr("create new exams folder " + full + suffix + "ok\nexamid=" + std::to_string(id)));
    EXPECT_EQ(app->db->exam("anna lee", id)->folder, exams->examFolder());
    EXPECT_EQ(app->db->exam("anna lee", id)->comment, "cold");
    EXPECT_EQ(refreshes, id);
  }
  EXPECT_TRUE(folderExists(full + "-2"));
  EXPECT_EQ(recordFolder(), full + "-2");
  EXPECT_EQ(settings.getString("settings", "directory", ""), full + "-2/");
  EXPECT_THAT(app->documents.documents(), IsEmpty());
  ASSERT_TRUE(makeFolderPath(app->dataFolder + "anna_lee-right"));
  EXPECT_TRUE(startNewExamination("right", ""));
  EXPECT_EQ(exams->examFolder(), "anna_lee-right") << "a folder of no exam stops nothing";
  EXPECT_TRUE(startNewExamination("../../etc", ""));
  EXPECT_EQ(exams->examFolder().find('/'), std::string::npos) << "never a way out of the data folder";
}

TEST_F(Selection, ANewExaminationBeginsOnlyOnceAllDocumentsAreClosed) {
  const int32_t first = selectNewExam("anna", "e1");
  CDocument* open = process.imageTemplate->newDocument();
  open->setModified();
  host.answers.push_back(Answer::Cancel);
  EXPECT_FALSE(startNewExamination("left", ""));
  EXPECT_EQ(exams->examId(), first);
  EXPECT_EQ(app->db->examsOf("anna").size(), 1u);
  open->setModified(false);
}

TEST_F(Selection, AFailedSaveLeavesNeitherRowNorBinding) {
  const int32_t exam = selectNewExam("anna", "e1");
  CdbDocument document;
  EXPECT_FALSE(document.onSaveDocument(inExam("none/x.tv1")));
  EXPECT_THAT(app->db->resultsOf(exam), IsEmpty());
  EXPECT_EQ(document.examIdOfDoc, -1);
}

TEST_F(Selection, ADocumentOfAnotherDataFolderTakesNobodysRow) {
  const int32_t exam = selectNewExam("anna", "e1");
  ASSERT_TRUE(app->db->insertResult(exam, "shot.tv1", "10 loops"));
  CdbDocument document;
  document.isBound = 1;
  document.patientId = "berta";
  document.examIdOfDoc = exam;
  document.resultText = "99 loops";
  host.answers = {Answer::No};
  EXPECT_FALSE(document.onSaveDocument(inExam("shot.tv1")))
      << "into another subject's folder only when asked";
  host.messages.clear();
  document.setPathName(inExam("shot.tv1"));
  for (int time = 0; time < 2; ++time) ASSERT_TRUE(document.onSaveDocument(inExam("shot.tv1")));
  EXPECT_EQ(app->db->resultsOf(exam)[0].result, "10 loops");
  EXPECT_EQ(host.messages.size(), 1u) << "it is told once";
  document.setPathName(inExam("other.tv1"));
  ASSERT_TRUE(document.onSaveDocument(inExam("shot.tv1")));
  EXPECT_EQ(app->db->resultsOf(exam)[0].result, "replaced by a document of another exam");
}

struct Dialog : SubjectDialogFace {
  SubjectDialog::Result run(SubjectDialog& dialog) override {
    dialog.typeId("anna");
    return result;
  }
  SubjectDialog::Result result = SubjectDialog::Result::Cancel;
};

TEST_F(Selection, SelectSubjectGoesOnAsTheDialogEnded) {
  app->db->newSubject("anna");
  Dialog face;
  runSelectSubject(face);
  EXPECT_THAT(posted(), IsEmpty());
  face.result = SubjectDialog::Result::ViewExaminations;
  runSelectSubject(face);
  EXPECT_THAT(posted(), ElementsAre(33051));
  face.result = SubjectDialog::Result::StartNewExamination;
  host.fills.push_back([](Form&) { return false; });
  runSelectSubject(face);
  EXPECT_THAT(posted(), ElementsAre(32982)) << "Cancel leads back to the subject";
  EXPECT_EQ(exams->examId(), -1);
  host.fill({{"Site", "left"}, {"Comment", "cold"}});
  runSelectSubject(face);
  EXPECT_THAT(posted(), ElementsAre(32970));
  EXPECT_EQ(app->db->exam("anna", exams->examId())->folder, "anna-left");
}

TEST_F(Selection, ANewExaminationIsOfTheSelectedSubjectAndCancelLeavesAllAsItWas) {
  selectNewExam("bert", "e1");
  Dialog face;  // would choose anna
  host.fills.push_back([](Form&) { return false; });
  runNewExamination(face);
  EXPECT_EQ(exams->examFolder(), "e1");
  EXPECT_THAT(posted(), IsEmpty());
  host.fill({{"Site", "left"}, {"Comment", ""}});
  runNewExamination(face);
  EXPECT_EQ(exams->examFolder(), "bert-left");
}

TEST_F(Selection, ADateOfBirthIsADayThatWas) {
  const FixedClock clock(1'700'000'000);
  EXPECT_EQ(dateOfBirth(" 3.2.1970 "), "1970-02-03");
  EXPECT_EQ(dateOfBirth("1970-02-03"), "1970-02-03");
  EXPECT_EQ(dateOfBirth(""), "");
  for (const char* wrong : {"30.2.1970", "1970-02-03x", "2970-01-01", "3.2.70", "soon"})
    EXPECT_EQ(dateOfBirth(wrong), std::nullopt) << wrong;
}

TEST_F(Selection, TheListOfSubjectsIsSortedByAnyColumn) {
  for (const char* id : {"b", "C", "a"}) ASSERT_TRUE(app->db->newSubject(id));
  SubjectDirectory all;
  all.read();
  all.sort(0, true);
  EXPECT_EQ(all.id(0) + all.id(1) + all.id(2), "Cba");
  all.filter("b");
  EXPECT_EQ(all.find("b"), 0);
  EXPECT_EQ(all.find("a"), -1);
}

TEST_F(Selection, ANewExaminationOffersTheFingersAndTakesOthers) {
  selectNewExam("anna", "e1");
  Dialog face;
  face.result = SubjectDialog::Result::StartNewExamination;
  std::vector<std::string> offered;
  host.fills.push_back([&](Form& form) {
    offered = form.find("Site")->choices;
    return form.find("Site")->take("lip").empty();
  });
  runSelectSubject(face);
  EXPECT_EQ(offered.size(), 8u);
  EXPECT_THAT(offered, Contains("left ring finger"));
  EXPECT_EQ(app->db->exam("anna", exams->examId())->site, "lip");
}

TEST(ResultText, TellsItsFigures) {
  EXPECT_THAT(figuresIn("  12.500, capillary density,   0.400, area"),
              ElementsAre(ResultFigure{"capillary density", 12.5, ""}, ResultFigure{"area", 0.4, ""}));
  EXPECT_THAT(figuresIn("Velocity 512.1 um/s, reliable"),
              ElementsAre(ResultFigure{"Velocity", 512.1, "um/s"}));
  EXPECT_THAT(figuresIn("FCD 1.500 %, FCF 0.250 1/frame in 0,0,64,48 by CONC"),
              ElementsAre(ResultFigure{"FCD", 1.5, "%"}, ResultFigure{"FCF", 0.25, "1/frame"}));
  EXPECT_THAT(
      figuresIn("Nailfold loops: 23 on 3.36 mm of row, 21 clear, 6.8 +- 1.4 per mm, reliability good"),
      ElementsAre(ResultFigure{"Nailfold loops", 23, ""}, ResultFigure{"Nailfold loops", 6.8, "per mm"}));
  EXPECT_THAT(figuresIn("no capillaries"), IsEmpty());
  EXPECT_THAT(figuresIn("verdict low (only 1.68 mm, as seen)"), IsEmpty());
  EXPECT_THAT(figuresIn("Nailfold loops refused: a field of 0.40 x 0.30 mm is too small"), IsEmpty());
}

TEST_F(Selection, ProcessResultsSavesWhatNobodyHadMarked) {
  const int32_t exam = selectNewExam("anna", "e1");
  for (const char* result : {"new", "marked", "bad"}) {
    CdbDocument written;
    written.resultText = result;
    ASSERT_TRUE(written.onSaveDocument(inExam(std::string(result) + ".tv1")));
  }
  settings.setInt("settings", "postprocess", 1);
  runProcessResults();
  EXPECT_THAT(host.messages, ElementsAre("These images could not be processed and saved:\nbad.tv1"));
  app->documents.discardAll();
  for (const ResultRow& row : app->db->resultsOf(exam))
    EXPECT_EQ(row.result, row.filename == "new.tv1" ? "7 loops" : withoutExtension(row.filename));
}

TEST_F(Selection, ProcessResultsOpensAllAndAnalysesOnRequest) {
  const int32_t exam = selectNewExam("anna", "e1");
  for (const char* name : {"a.tv1", "b.tv1"}) {
    CdbDocument written;
    ASSERT_TRUE(written.onSaveDocument(inExam(name)));
  }
  app->db->insertResult(exam, "gone.tv1", "");
  for (const int32_t analyse : {0, 1}) {
    settings.setInt("settings", "postprocess", analyse);
    app->documents.closeAll();
    runProcessResults();
    EXPECT_EQ(process.imageTemplate->documents().size(), 2u);
    for (const auto& document : process.imageTemplate->documents())
      EXPECT_EQ(dynamic_cast<ImageDocument&>(*document).analysed, analyse);
    EXPECT_THAT(posted(), ElementsAre(57652, 33051));
    EXPECT_EQ(host.messages.size(), static_cast<size_t>(1 + analyse)) << "one file had gone";
  }
}

}  // namespace
}  // namespace tarnvisor
