#include "results/studyresults.h"

#include "assembly/assembly.h"
#include "base/checksum.h"
#include "exams/subjectdirectory.h"
#include "frame/mainframe.h"
#include "imagedoc/resulttables.h"
#include "linescan/resulttables.h"
#include "settings/fingerprint.h"
#include "support/apptest.h"

namespace tarnvisor {
namespace {

class StudyResults : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    ASSERT_TRUE(startWithData());
  }
  // A subject with an exam, both selected.
  int32_t select(const std::string& subject, const std::string& folderName) {
    (void)app->db->newSubject(subject);
    const int32_t exam = app->db->newExam(subject, "hand", "", folderName);
    makeFolderPath(app->dataFolder + folderName);
    theExams().selectSubject(subject, "");
    theExams().selectExam(exam, folderName);
    return exam;
  }
  static CResultDoc& addWidth(const std::string& file, double width) {
    return *addResultRow(kDiameterResults,
                         recordOf(kDiameterResults, file, "um", {{"line", 2}, {"width", width}}));
  }
  std::vector<std::string> exported(StudyScope scope = StudyScope::OpenTables) {
    unread.clear();
    const Outcome done = exportStudy(folder.file("study.csv"), {scope}, unread);
    EXPECT_TRUE(done) << done.why();
    std::vector<std::string> lines = split(readWholeText(folder.file("study.csv")).value_or(""), '\n');
    lines.pop_back();
    return lines;
  }
  // What a row says before the version.
  static std::string measure(const std::string& line) { return line.substr(0, line.find(",4.60")); }

  std::string unread;
};

TEST_F(StudyResults, AreARowAMeasure) {
  const std::string exam = std::to_string(select("S, 1", "e1"));
  addWidth("a \"b\".tv1", 12.5);
  const CResultDoc& table = addWidth("c.tv1", std::nan(""));
  EXPECT_TRUE(table.hasUnkeptRows());
  const std::vector<std::string> lines = exported();
  EXPECT_FALSE(table.hasUnkeptRows());
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0],
            "subject,exam,document,list,mark,quantity,value,unit,program version,settings,table,date,site");
  EXPECT_EQ(measure(lines[1]), "\"S, 1\"," + exam + ",\"a \"\"b\"\".tv1\",,2,width,12.5,um");
  EXPECT_EQ(measure(lines[2]), "\"S, 1\"," + exam + ",c.tv1,,2,width,,um");
  EXPECT_THAT(lines[1], HasSubstr(settingsFingerprint()));
}

TEST_F(StudyResults, LeaveOutTheMeanBehindLines) {
  const auto add = [](const std::vector<NamedValue>& values) {
    addResultRow(kCapillaryResults, recordOf(kCapillaryResults, "a.dtv", "um", values));
  };
  add({{"line", 1}, {"length", 50}, {"diameter", 10}, {"velocity", std::nan("")}});
  const size_t ofOne = exported().size();
  add({{"velocity", 100}, {"flow", 7}});
  EXPECT_EQ(exported().size(), ofOne);
}

TEST_F(StudyResults, TakeInStoredTablesOfASubjectOrOfAll) {
  for (const std::string subject : {"S-1", "S-2"}) {
    select(subject, subject);
    CResultDoc& table = addWidth(subject + ".tv1", 7);
    ASSERT_TRUE(table.onSaveDocument(app->dataFolder + subject + "/w.rst"));
    table.type()->discard(table);
  }
  EXPECT_EQ(exported(StudyScope::AllSubjects).size(), 3u);
  const std::vector<std::string> lines = exported(StudyScope::SelectedSubject);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[1].starts_with("S-2,"));
  ASSERT_NE(app->openDocumentFile(app->dataFolder + "S-2/w.rst"), nullptr);
  EXPECT_EQ(exported(StudyScope::SelectedSubject).size(), 2u);  // once, though it is open
  ASSERT_TRUE(replaceFile(app->dataFolder + "S-1/w.rst", std::string_view("no table")));
  EXPECT_EQ(exported(StudyScope::AllSubjects).size(), 2u);
  EXPECT_THAT(unread, HasSubstr("S-1/w.rst"));
}

TEST_F(StudyResults, AreARowAnExamWithTheMeansOfWhatIsAskedFor) {
  const int32_t first = select("S-1", "e1");
  ASSERT_TRUE(app->db->setPerson("S-1", {"1970-02-03", "f"}));
  for (const double width : {7, 8}) addWidth("a.tv1", width);
  ASSERT_TRUE(app->db->insertResult(first, "a.tv1", " 12.500, capillary density,  0.400, area"));
  const int32_t empty = select("S-2", "e2");
  const StudyWish wish{StudyScope::AllSubjects, StudyLayout::Exams,
                       "Width (um), capilary density, capillary density"};
  ASSERT_TRUE(exportStudy(folder.file("study.csv"), wish, unread));
  EXPECT_EQ(unread, "no result is called \"capilary density\"\n");
  const std::string day = localDay(app->db->exam(first)->created);
  EXPECT_EQ(readWholeText(folder.file("study.csv")),
            "subject,born,sex,exam,date,site,comment,documents,capillary density,width (um)\n" +
                format("S-1,1970-02-03,f,%i,%s,hand,,1,12.5,7.5\n", first, day.c_str()) +
                format("S-2,,,%i,%s,hand,,0,,\n", empty, day.c_str()));
}

TEST_F(StudyResults, OfAMergedStudyTakeInWhatItsTablesToldUnlessTheDocumentWasCorrected) {
  select("S", "k");
  const std::string row = "width,12.5,um,,Diameter\n";
  const std::string table = app->dataFolder + "measures.csv";
  const auto put = [](const std::string& path, std::string_view text) {
    ASSERT_TRUE(replaceFile(path, text));
  };
  for (const char* name : {"k/a.tv1", "k/b.tv1"}) put(app->dataFolder + name, "");
  put(app->dataFolder + "documents.csv",
      "key,document,sha256\nk,a.tv1," + sha256("") + "\nk,b.tv1," + sha256("") + "\n");
  put(table, "key,subject,exam,document,list,mark,quantity,value,unit,quality,table\nk,S,1,a.tv1,,," + row +
                 "k,S,1,b.tv1,,," + row +
                 "k,S,1,a.tv1,,,area,2,um,,\nk,S,1,a.tv1,,,area,2,,,saved table of 9 columns\n" +
                 "k,T,1,a.tv1,,," + row);
  EXPECT_EQ(exported(StudyScope::AllSubjects).size(), 3u);
  put(app->dataFolder + "k/b.tv1", "corrected");
  const auto lines = exported(StudyScope::AllSubjects);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines[1], testing::HasSubstr("a.tv1"));
}

TEST_F(StudyResults, LeaveOutWhatIsNotAskedFor) {
  select("S-1", "e1");
  addWidth("a.tv1", 7);
  EXPECT_THAT(exportStudy(folder.file("study.csv"), {.quantities = "length"}, unread).why(),
              HasSubstr("no results"));
}

TEST_F(StudyResults, FailInWordsAndLeaveTheFileThatIsThere) {
  EXPECT_THAT(exportStudy(folder.file("study.csv"), {StudyScope::OpenTables}, unread).why(),
              HasSubstr("no results"));
  EXPECT_FALSE(fileExists(folder.file("study.csv")));
  EXPECT_THAT(exportStudy(folder.file("study.csv"), {StudyScope::SelectedSubject}, unread).why(),
              HasSubstr("No subject"));
}

TEST_F(StudyResults, GoOutByACommandOfTheFrame) {
  CBasicMainFrame frame(*app);
  select("S-1", "e1");
  addWidth("a.tv1", 1);
  host.fill({{"Tables", "open tables"}});
  host.paths = {folder.file("x.csv")};
  EXPECT_EQ(routeCommand(app->commandChain(), "Export study results..."), CommandResult::Done);
  EXPECT_TRUE(fileExists(folder.file("x.csv")));
}

TEST_F(StudyResults, HaveTheUnitsOfTheirQuantity) {
  const auto unit = [](const ResultTable& kind, const char* title) {
    CResultDoc table;
    table.addcolumns(kind.columns);
    return unitOfMeasure(table, title, "um");
  };
  EXPECT_EQ(unit(kImageResults, "ROI area"), "um^2");
  EXPECT_EQ(unit(kImageResults, "Count density"), "1/mm^2");
  EXPECT_EQ(unit(kVoronoiResults, "density"), "1/mm^2");
  EXPECT_EQ(unit(kNailfoldResults, "density"), "1/mm");
  EXPECT_EQ(unit(kImageResults, "density (%)"), "%");
  EXPECT_EQ(unit(kImageResults, "Tortuosity0"), "");
}

TEST_F(StudyResults, FingerprintChangesWithWhatMeasuresAlone) {
  const std::string before = settingsFingerprint();
  EXPECT_EQ(before.size(), 64u);
  settings.setInt("MainWindow", "left", 77);
  settings.setString("settings", "directory", "/elsewhere");
  EXPECT_EQ(settingsFingerprint(), before);
  settings.setDouble("minima", "sigma", 9);
  EXPECT_NE(settingsFingerprint(), before);
}

TEST_F(StudyResults, ReadBackByOtherReaders) {
  if (std::system("python3 -c 'import csv' > /dev/null 2>&1") != 0) GTEST_SKIP() << "python3 is missing";
  select("M\xc3\xbcller, \"x\"", "e1");
  addWidth("a\nb.tv1", 12.5);
  exported();
  const std::string program =
      "import csv,sys; rows=list(csv.DictReader(open(sys.argv[1],encoding='utf-8',newline=''))); "
      "print(len(rows),rows[0]['subject'],repr(rows[0]['document']),float(rows[0]['value']))";
  ASSERT_TRUE(replaceFile(folder.file("read.py"), std::string_view(program)));
  ASSERT_EQ(std::system(("PYTHONIOENCODING=utf-8 python3 " + folder.file("read.py") + " " +
                         folder.file("study.csv") + " > " + folder.file("out.txt"))
                            .c_str()),
            0);
  EXPECT_EQ(readWholeText(folder.file("out.txt")), "1 M\xc3\xbcller, \"x\" 'a\\nb.tv1' 12.5\n");
}

}  // namespace
}  // namespace tarnvisor
