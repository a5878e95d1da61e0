#include "batch/study.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "base/text.h"
#include "batch/studychunk.h"
#include "batch/studymanifest.h"
#include "batch/studymerge.h"
#include "batch/studystatus.h"
#include "db/subjectdatabase.h"
#include "support/tempfolder.h"
#include "support/testing.h"
#include "synth/nailfold.h"

namespace tarnvisor {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

class Study : public ::testing::Test {
 protected:
  Study() {
    for (const int seed : {1, 2}) {
      NailfoldTruth truth;
      const NailfoldStill still{.width = 320, .height = 256, .rows = 2, .seed = static_cast<uint64_t>(seed)};
      EXPECT_TRUE(renderNailfold(still, truth)->save(folder.file(format("%i.bmp", seed))));
    }
    put("cut.bmp", "BM, and no more");
    put("set.ini", "[ProcessingArgs]\numin=40\n");
    put("steps.txt",
        "open {file}\ncommand \"Find Capillaries\"\ncommand \"Calculate average of selection\"\n"
        "set ProcessingArgs umin 99999\nsave {key}.tv1\n");
    put("list.csv",
        "key,subject,site,comment,file,date,group\nb-2,P 1,left,,2.bmp,2025-03-02,x\n"
        "b-10,P 2,right,\"a \"\"quoted\"\" # {key}\nclose\",1.bmp,2025-03-01,y\na,P 1,,,cut.bmp,,x\n");
  }
  void put(const std::string& name, const std::string& text) {
    ASSERT_TRUE(replaceFile(folder.file(name), std::string_view(text)));
  }
  std::string get(const std::string& name) { return readWholeText(folder.file(name)).value_or("-"); }
  int plan(const std::string& study, const std::string& size) {
    return runStudy({"plan", folder.file("list.csv"), folder.file("steps.txt"), folder.file(study), "--chunk",
                     size, "--profile", folder.file("set.ini"), "--date", "2025-01-01"},
                    "");
  }
  int make(const std::string& study, const std::string& size, const std::vector<std::string>& chunks) {
    EXPECT_EQ(plan(study, size), 0);
    for (const std::string& chunk : chunks) EXPECT_EQ(runStudy({"chunk", folder.file(study), chunk}, ""), 0);
    return runStudy({"merge", folder.file(study)}, "");
  }
  std::string planProblem(const std::string& list) {
    put("wrong.csv", list);
    return makePlan({.manifest = folder.file("wrong.csv"),
                     .steps = folder.file("steps.txt"),
                     .folder = folder.file("never"),
                     .settings = folder.file("set.ini")})
        .why();
  }
  std::string mergeProblem(const std::string& study) {
    StudyPlan opened;
    EXPECT_TRUE(opened.open(folder.file(study)));
    return mergeStudy(opened, {.folder = folder.file(study + "/merged")}, merged).why();
  }
  MergedStudy merged;
  TempFolder folder;
};

TEST_F(Study, TheCutIntoChunksChangesNothingAndADamagedPictureCostsItsExamAlone) {
  EXPECT_EQ(make("whole", "9", {"1"}), 3);
  EXPECT_EQ(make("cut", "1", {"3", "1", "2"}), 3);
  for (const char* name :
       {"measures.csv", "exams.csv", "failures.csv", "review.csv", "inputs.csv", "provenance.csv", "tarn.db"})
    EXPECT_EQ(get(std::string("whole/merged/") + name), get(std::string("cut/merged/") + name)) << name;
  EXPECT_THAT(get("cut/merged/failures.csv"), HasSubstr("\na,P_1,1,cut.bmp,steps.txt:1: open {file},"));
  EXPECT_THAT(get("cut/merged/measures.csv"), HasSubstr("\nb-10,P_2,2,b-10.tv1,,,capillary density,"));
  EXPECT_THAT(get("cut/merged/measures.csv"),
              HasSubstr("\nb-10,P_2,2,b-10.tv1,0,,ROI w,320.0,pixel,,Image Results\n"));
  EXPECT_THAT(get("cut/merged/exams.csv"),
              HasSubstr("\n2,done,1,,b-10,P_2,right,\"a \"\"quoted\"\" # {key}\nclose\","));
  EXPECT_TRUE(fileExists(folder.file("cut/merged/b-2/b-2.tv1")));
  std::string problem;
  const auto db = SubjectDatabase::open(folder.file("cut/merged/tarn.db"), "", {4, 60, 0, 0}, problem);
  ASSERT_TRUE(db);
  EXPECT_EQ(db->exam("P_1", 3)->created, "2025-03-02 12:00:00");
  EXPECT_EQ(db->resultsOf(3).size(), 1u);
}

TEST_F(Study, WhatIsDoneIsNotDoneAgainAndLeftoversGoByAge) {
  EXPECT_EQ(make("study", "2", {"1"}), 1);
  EXPECT_THAT(mergeProblem("study"), HasSubstr("1 of 2 chunks are not done: 000002"));
  StudyPlan opened;
  ASSERT_TRUE(opened.open(folder.file("study")));
  EXPECT_EQ(statusOf(opened).left, std::vector<int32_t>{2});
  const std::string stamp = fileStamp(folder.file("study/done/000001/run.csv"));
  EXPECT_EQ(runStudy({"chunk", folder.file("study"), "1", "2"}, ""), 0);
  EXPECT_EQ(fileStamp(folder.file("study/done/000001/run.csv")), stamp);
  EXPECT_EQ(runStudy({"status", folder.file("study")}, ""), 3);
  EXPECT_EQ(mergeProblem("study"), "");
  put("study/merged/b-2/runs.csv", "by hand");
  EXPECT_EQ(mergeProblem("study"), "");
  EXPECT_EQ(readWholeText(merged.before + "b-2/runs.csv"), "by hand");
  fs::create_directory(folder.file("study/part/old"));
  fs::create_directory(folder.file("study/part/new"));
  fs::last_write_time(folder.file("study/part/old"),
                      fs::file_time_type::clock::now() - std::chrono::hours(30));
  EXPECT_EQ(sweepParts(opened, 1e8), 0u);
  EXPECT_EQ(sweepParts(opened, 24), 1u);
  EXPECT_EQ(statusOf(opened).parts, 1u);
}

TEST_F(Study, ChunksThatDoNotBelongTogetherAreNamedAndRefused) {
  EXPECT_EQ(make("study", "1", {"1", "2", "3"}), 3);
  const std::string before = get("study/merged/tarn.db");
  const auto with = [&](const std::string& file, const std::string& from, const std::string& to) {
    const std::string kept = get("study/done/000002/" + file);
    std::string changed = kept;
    const size_t at = changed.find(from);
    if (at != std::string::npos) changed.replace(at, from.size(), to);
    put("study/done/000002/" + file, changed);
    const std::string why = mergeProblem("study");
    put("study/done/000002/" + file, kept);
    return why;
  };
  EXPECT_THAT(with("exams.csv", "b-10", "a"), HasSubstr("chunk 000002: it lacks b-10"));
  EXPECT_THAT(with("exams.csv", "\n2,", "\n2,done,1,,b-10,P,,,,,\n2,"), HasSubstr("it has twice"));
  EXPECT_THAT(with("measures.csv", "unit", "units"), HasSubstr("has other columns"));
  EXPECT_THAT(with("measures.csv", "320.0", "321.0"), HasSubstr("chunk 000002: its tables were changed"));
  EXPECT_THAT(with("provenance.csv", "program,", "program,3"),
              HasSubstr("chunk 000002: it was made with program 3"));
  EXPECT_THAT(with("data/b-10/b-10.tv1", "", "x"), HasSubstr("its file data/b-10/b-10.tv1 has "));
  fs::remove(folder.file("study/done/000002/data/b-10/b-10.tv1"));
  EXPECT_THAT(mergeProblem("study"), HasSubstr("chunk 000002: its file data/b-10/b-10.tv1 is gone"));
  EXPECT_EQ(get("study/merged/tarn.db"), before);
  const std::string list = get("study/chunks/000002.csv");
  put("study/chunks/000002.csv", get("study/chunks/000003.csv"));
  EXPECT_THAT(mergeProblem("study"), HasSubstr("000002.csv is not the one that was planned"));
  put("study/chunks/000002.csv", list);
  put("study/settings.ini", "[ProcessingArgs]\numin=41\n");
  EXPECT_EQ(runStudy({"chunk", folder.file("study"), "1"}, ""), 1);
}

TEST_F(Study, ADocumentOfTheClinicIsMeasuredAndLeftAsItWas) {
  put("steps.txt", "open {file}\ncommand \"Find Capillaries\"\nsave K.tv1\n");
  ASSERT_EQ(make("first", "9", {"1"}), 3);  // makes a document as a clinic has them
  const std::string theirs = folder.file("first/merged/b-2/K.tv1");
  const std::string stamp = fileStamp(theirs);
  put("list.csv", "key,subject,file\nx,P 9," + theirs + "\n");
  EXPECT_EQ(make("second", "9", {"1"}), 0);
  EXPECT_EQ(fileStamp(theirs), stamp);
  EXPECT_TRUE(fileExists(folder.file("second/merged/x/K.tv1")));
  EXPECT_THAT(get("second/merged/review.csv"), HasSubstr("K.tv1 was a document of subject P_1"));
  EXPECT_THAT(get("second/merged/review.csv"), Not(HasSubstr("no step measured it anew")));
  put("steps.txt", "open {file}\nsave\n");
  EXPECT_EQ(make("kept", "9", {"1"}), 0);
  EXPECT_THAT(get("kept/merged/review.csv"), HasSubstr("no step measured it anew"));
  EXPECT_THAT(get("second/merged/inputs.csv"), HasSubstr("/K.bmp,")) << "its pixels are summed, too";
  put("steps.txt", "open {file}\ncommand \"Find Capillaries\"\nsave\nsave {file}\n");
  EXPECT_EQ(make("third", "9", {"1"}), 3) << "a whole name leads out of the study";
  EXPECT_EQ(fileStamp(theirs), stamp);
}

TEST_F(Study, AnExamThatWouldLoseADocumentFails) {
  put("list.csv", "key,subject,file\na,S,1.bmp\n");
  const auto failureOf = [this](const std::string& study, const std::string& steps) {
    put("steps.txt", steps);
    EXPECT_EQ(make(study, "9", {"1"}), 3);
    return get(study + "/merged/failures.csv");
  };
  EXPECT_THAT(failureOf("up", "open {file}\nsave ../{key}.tv1\n"),
              HasSubstr("data/a.bmp was written beside"));
  EXPECT_THAT(failureOf("twice", "open {file}\nsave x.tv1\nsave\nclose\nopen {file}\nsave x.tv1\n"),
              HasSubstr("steps.txt:6: save x.tv1,another document of this exam was saved as x.tv1 before"));
}

TEST_F(Study, AFileThatTheStepsNameIsTheSameForAll) {
  const std::string flat = folder.file("flat.bmp");
  fs::copy_file(folder.file("1.bmp"), flat);
  put("steps.txt", "open {file}\nimport " + flat + "\nsave {key}.tv1\n");
  EXPECT_EQ(make("study", "1", {"1", "2"}), 1);
  fs::copy_file(folder.file("2.bmp"), flat, fs::copy_options::overwrite_existing);
  EXPECT_EQ(runStudy({"chunk", folder.file("study"), "3"}, ""), 0);
  EXPECT_THAT(mergeProblem("study"), HasSubstr("flat.bmp was another file for each of"));
}

TEST_F(Study, PicturesThatAreCalledAlikeAreToldApart) {
  for (const char* below : {"x", "y/z"}) ASSERT_TRUE(makeFolderPath(folder.file(below)));
  fs::copy_file(folder.file("1.bmp"), folder.file("x/p.bmp"));
  fs::copy_file(folder.file("2.bmp"), folder.file("y/p.bmp"));
  fs::create_directory_symlink(folder.file("y/z"), folder.file("x/away"));
  put("list.csv", "key,subject,file,file2\na,S,x/p.bmp,x/away/../p.bmp\n");
  const std::string count = "}\ncommand \"Calculate average of selection\"\n";
  put("steps.txt", "open {file" + count + "open {file2" + count);
  EXPECT_EQ(make("study", "9", {"1"}), 0) << get("study/merged/failures.csv");
  EXPECT_THAT(get("study/merged/measures.csv"), HasSubstr("a,S,1,p-1,"));
  EXPECT_THAT(get("study/merged/inputs.csv"),
              HasSubstr("a,x/away/../p.bmp," + sha256OfFile(folder.file("y/p.bmp"))))
      << "what lies behind the link, not beside it";
}

TEST_F(Study, AChunkThatAnEngineTookApartIsRunAnew) {
  ASSERT_EQ(make("study", "9", {"1"}), 3);
  fs::remove(folder.file("study/done/000001/done"));
  fs::remove(folder.file("study/merged/runs.csv"));
  EXPECT_EQ(runStudy({"chunk", folder.file("study"), "1"}, ""), 0);
  EXPECT_EQ(mergeProblem("study"), "");
  fs::rename(folder.file("study"), folder.file("elsewhere"));
  ASSERT_TRUE(makeFolderPath(folder.file("deep/er")));
  fs::create_directory_symlink(folder.file("elsewhere"), folder.file("deep/er/study"));
  fs::remove_all(folder.file("elsewhere/done/000001"));
  EXPECT_EQ(runStudy({"chunk", folder.file("deep/er/study"), "1"}, ""), 0);
  EXPECT_EQ(mergeProblem("deep/er/study"), "") << "its pictures are found through a link";
  EXPECT_EQ(merged.failures, 1);
}

TEST_F(Study, AListThatIsWrongIsToldByItsLines) {
  EXPECT_THAT(planProblem("key;subject;file\n"),
              HasSubstr("no column \"key\": cells must be parted by commas"));
  const std::string why = planProblem(
      "key,subject,file\nx,P-1,1.bmp\nx,P-2,1.bmp\n../y,P-3,1.bmp\nz,p-1,gone.bmp\nu,p-1,1.bmp\nv,P\nTarn.db,Q,1.bmp\n");
  EXPECT_THAT(why, HasSubstr("line 3: the key \"x\" stands in line 2, too"));
  EXPECT_THAT(why, HasSubstr("line 4: the key \"../y\" names a folder"));
  EXPECT_THAT(why, HasSubstr("line 5: gone.bmp is not there"));
  EXPECT_THAT(why, HasSubstr("line 6: the subject \"p-1\" is spelled otherwise in line 2"));
  EXPECT_THAT(why, HasSubstr("line 8: the key \"Tarn.db\" is the name of a file"));
  EXPECT_THAT(why, HasSubstr("line 7: 2 cells, where the first line has 3"));
  put("steps.txt", "open {file}\nroi {region}\nexam x\nfly\n");
  const std::string steps = planProblem("key,subject,file\nx,P-1,1.bmp\n");
  EXPECT_THAT(steps, HasSubstr("steps.txt:2: {region} is no column of the list of exams, which has {key}"));
  EXPECT_THAT(steps, HasSubstr("steps.txt:3: the list of exams tells subject and site"));
  put("steps.txt", "open {file}\nroi {region}\n");
  EXPECT_THAT(planProblem("key,subject,file,region\nx,P,1.bmp,\"0,0,9,9\"\ny,P,1.bmp,left\n"),
              HasSubstr("wrong.csv:3: with this exam"));
  EXPECT_FALSE(folderExists(folder.file("never")));
}

TEST_F(Study, AListIsReadInPartsAndItsRowsAreWhole) {
  std::string lines, comment;
  for (int i = 0; i < 150'000; ++i) comment += format("Müller, %i\n", i);
  for (const char* key : {"c", "a", "b"}) lines += std::string(key) + ",S,1.bmp,\"" + key + comment + "\"\n";
  put("great.csv", "key,subject,file,comment\n" + lines);
  StudyManifest list;
  ASSERT_TRUE(list.read(folder.file("great.csv")));
  ASSERT_EQ(list.count(), 3u);
  EXPECT_EQ(list.row(2), (std::vector<std::string>{"c", "S", "1.bmp", "c" + comment}));
  EXPECT_EQ(list.line(1), 300'004u);
}

TEST_F(Study, AnExamThatTakesTooLongIsStoppedAndTold) {
  put("steps.txt", "open {file}\nlive 60s\n");
  ASSERT_EQ(plan("slow", "9"), 0);
  EXPECT_EQ(runStudy({"chunk", folder.file("slow"), "1", "--limit", "0.3"}, ""), 0);
  EXPECT_THAT(get("slow/done/000001/failures.csv"), HasSubstr("it took longer than 0.3 seconds"));
}

// The ready files of the documentation, each where its programs are installed.
struct Engine {
  const char* program;
  std::string command;  // with the study's folder behind it
  friend std::ostream& operator<<(std::ostream& out, const Engine& engine) { return out << engine.program; }
};
class StudyEngine : public Study, public ::testing::WithParamInterface<Engine> {};

TEST_P(StudyEngine, RunsWhatIsLeftAndMergesTheSame) {
  const auto runs = [](const std::string& command) { return std::system(command.c_str()) == 0; };
  if (!runs(std::string("command -v ") + GetParam().program + " >/dev/null"))
    GTEST_SKIP() << GetParam().program << " is not installed (scripts/install-dependencies studies)";
  if (GetParam().program == std::string("slurmctld") && ::geteuid() != 0)
    GTEST_SKIP() << "a trial of Slurm wants root";
  put("list.csv", "key,subject,file\na,P 1,1.bmp\nb,P 2,2.bmp\n");
  ASSERT_EQ(make("whole", "9", {"1"}), 0);
  ASSERT_EQ(plan("cut", "1"), 0);
  ASSERT_EQ(runStudy({"chunk", folder.file("cut"), "2"}, ""), 0);
  EXPECT_TRUE(runs("cd " + folder.path() +
                   " && PATH=" TARNVISOR_BIN ":$PATH POLL_SECONDS=1 PARALLEL_OPTIONS= " + GetParam().command +
                   folder.file("cut") + " >engine.log 2>&1"))
      << get("engine.log");
  EXPECT_EQ(get("cut/merged/measures.csv"), get("whole/merged/measures.csv"));
}

INSTANTIATE_TEST_SUITE_P(Ready, StudyEngine,
                         ::testing::Values(Engine{"xargs", STUDY_ENGINES "/xargs.sh "},
                                           Engine{"parallel", STUDY_ENGINES "/parallel.sh "},
                                           Engine{"snakemake", "snakemake -s " STUDY_ENGINES
                                                               "/Snakefile -j 2 --config study="},
                                           Engine{"slurmctld", STUDY_CLUSTER " " STUDY_ENGINES "/slurm.sh "}),
                         [](const auto& engine) { return std::string(engine.param.program); });

}  // namespace
}  // namespace tarnvisor
