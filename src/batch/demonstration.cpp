#include "batch/demonstration.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "batch/demonstrationchart.h"
#include "batch/demonstrationloops.h"
#include "batch/demonstrationscan.h"
#include "batch/demonstrationvideo.h"
#include "batch/runner.h"
#include "batch/script.h"
#include "charts/chartdoc.h"
#include "exams/examselection.h"
#include "exams/subjectselection.h"
#include "imagedoc/zbasicdoc.h"
#include "linescan/zlinescanbasedoc.h"
#include "settings/settings.h"
#include "synth/nailfold.h"

namespace tarnvisor {

namespace {

constexpr const char* kSubject = "DEMO-1";
constexpr const char* kSite = "left ring finger";
constexpr const char* kTruthFile = "truth.csv";
constexpr const char* kChart = "pulse.zz1";
constexpr const char* kScan = "demo.zzl";
constexpr const char* kLoopTruthFile = "loops-truth.csv";
constexpr const char* kChartTruthFile = "pulse-truth.csv";
constexpr const char* kRawFolder = "stills/";  // below the exam's folder; documents get copies beside them

struct DemonstrationStill {
  const char* file;
  const char* about;
  NailfoldStill (*make)(uint64_t seed);
};
constexpr DemonstrationStill kStills[] = {
    {"good.bmp", "in focus and evenly lit", goodNailfold},
    {"dense.bmp", "many capillaries", denseNailfold},
    {"sparse.bmp", "few capillaries", sparseNailfold},
    {"colour.bmp", "in colour", colourNailfold},
    {"field.zzg", "one field of a frame", fieldNailfold},
    {"dim.tif", "little light and much noise", dimNailfold},
    {"dusty.bmp", "poor focus and dust", dustyNailfold},
};

struct KnownStill {
  std::string file;
  std::string about;
  int truth = 0;
};

// The lines of the truth file: file, number of capillaries, words.
std::vector<KnownStill> readTruth(const std::string& path) {
  std::vector<KnownStill> stills;
  std::ifstream lines(path);
  std::string line;
  for (std::getline(lines, line); std::getline(lines, line);) {
    const std::vector<std::string> parts = split(line, ',');
    if (parts.size() >= 3) stills.push_back({parts[0], parts[2], std::atoi(parts[1].c_str())});
  }
  return stills;
}

// The folder of the demonstration's exam; empty while there is none.
std::string selectDemonstration(CBasicApp& app) {
  SubjectDialog dialog;
  dialog.chooseId(kSubject);
  if (theExams().subjectId() != kSubject) return {};
  ExamList exams;
  exams.refresh();
  for (size_t i = 0; i < exams.exams().size(); ++i)
    if (fileExists(app.dataFolder + exams.exams()[i].folder + kSeparator + kTruthFile)) {
      exams.select(i);
      return theExams().folder();
    }
  return {};
}

std::string drawStills(const std::string& folder) {
  std::string truthLines = "file,capillaries,about\n";
  for (const DemonstrationStill& still : kStills) {
    NailfoldTruth truth;
    const auto image = renderNailfold(still.make(1), truth);
    const std::string path = folder + kRawFolder + still.file;
    if (!image || !makeFolderPath(folderOf(path)) || !image->save(path)) return path + " can't be written";
    truthLines += format("%s,%zu,%s\n", still.file, truth.capillaries.size(), still.about);
  }
  const Outcome done = replaceFile(folder + kTruthFile, std::string_view(truthLines));
  return done ? std::string() : done.why();
}

std::string drawLoops(const std::string& folder) {
  const Outcome saved = saveDemonstrationLoops(folder + kRawFolder, folder + kLoopTruthFile);
  return saved ? std::string() : saved.why();
}

std::string drawPulse(const std::string& folder) {
  DopplerTruth truth;
  if (const Outcome saved = saveDemonstrationChart(folder + kChart, truth); !saved) return saved.why();
  std::string truthLines = "systole,seconds\n";
  for (size_t i = 0; i < truth.systoles.size(); ++i)
    truthLines += format("%zu,%.4f\n", i + 1, truth.systoles[i]);
  const Outcome done = replaceFile(folder + kChartTruthFile, std::string_view(truthLines));
  return done ? std::string() : done.why();
}

std::string drawScan(const std::string& folder) {
  const Outcome saved = saveDemonstrationScan(folder + kScan);
  return saved ? std::string() : saved.why();
}

std::string makeVideos(const std::string& folder) {
  for (const DemonstrationVideo& video : kDemonstrationVideos)
    if (const Outcome saved = saveDemonstrationVideo(video, folder); !saved) return saved.why();
  return {};
}

// Beats a minute between the first and the last systole of the truth file; 0 without.
double truePulse(const std::string& folder) {
  std::vector<double> systoles;
  std::ifstream lines(folder + kChartTruthFile);
  std::string line;
  for (std::getline(lines, line); std::getline(lines, line);)
    if (const std::vector<std::string> parts = split(line, ','); parts.size() == 2)
      systoles.push_back(std::strtod(parts[1].c_str(), nullptr));
  if (systoles.size() < 2) return 0;
  return 60.0 * static_cast<double>(systoles.size() - 1) / (systoles.back() - systoles.front());
}

std::string stillLine(const KnownStill& still, const ZBasicDoc& document) {
  return format("%-12s %5i %6zu  %-52s %s\n", still.file.c_str(), still.truth,
                document.currentDims().items.size(), document.resultText.c_str(), still.about.c_str());
}

}  // namespace

std::string makeDemonstration(CBasicApp& app) {
  if (!app.db) return "There is no subject database.";
  if (!selectDemonstration(app).empty()) return {};
  SubjectDialog dialog;
  dialog.id = kSubject;
  if (!app.db->readSubject(kSubject)) dialog.addAsNewId();
  dialog.name = "Simulated";
  dialog.surname = "Finger";
  dialog.comment = "Drawn by the program; the number of capillaries is known.";
  dialog.saveDetails();
  dialog.finish(SubjectDialog::Result::StartNewExamination);
  if (!makeExamination(kSite, "demonstration")) return "The demonstration's examination can't be made.";
  const std::string folder = theExams().folder();
  for (const auto make : {drawStills, drawLoops, drawPulse, drawScan, makeVideos})
    if (std::string problem = make(folder); !problem.empty()) return problem;
  return {};
}

int runDemonstration(CBasicApp& app, ScriptHost& script) {
  if (const std::string problem = makeDemonstration(app); !problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
    return 1;
  }
  const std::string folder = selectDemonstration(app);
  settings.setInt("capwidth", "edgesub", 1);
  settings.setInt("correlation", "subpoint", 1);
  settings.setInt("correlation", "bothways", 1);
  std::printf("Demonstration in %s\n\n%-12s %5s %6s  %-52s %s\n", folder.c_str(), "still", "true", "found",
              "density", "");
  ScriptRunner runner(app, script, false);
  const auto must = [&](const std::string& word, std::vector<std::string> arguments) {
    const StepResult result = runner.runStep({word, std::move(arguments), "demonstration", 0});
    if (!result.ok) std::fprintf(stderr, "%s: %s\n", word.c_str(), result.why.c_str());
    return result.ok;
  };
  for (const KnownStill& still : readTruth(folder + kTruthFile)) {
    const std::string saved = folder + withoutExtension(still.file) + ".tv1";
    // A still that was saved before is opened as it was left, and its marks are counted again.
    if (!must("open", {fileExists(saved) ? saved : folder + kRawFolder + still.file})) return 1;
    auto* document = dynamic_cast<ZBasicDoc*>(app.documents.active());
    document->magx = document->magy = 1.0;  // the simulated finger is drawn at one micrometre a pixel
    document->calibrated = 1;
    document->userunits = "um";
    if (!must("command", {"Find Capillaries"}) || !must("command", {"Calculate average of selection"}))
      return 1;
    std::fputs(stillLine(still, *document).c_str(), stdout);
    if (!must("save", {saved}) || !must("close", {})) return 1;
  }
  if (!must("export", {folder + "image-results.csv"})) return 1;
  const std::vector<KnownRow> wide = readLoopTruth(folder + kLoopTruthFile);
  if (!wide.empty()) std::printf("\n%-16s %7s  %s\n", "wide field", "true/mm", "found");
  for (const KnownRow& still : wide) {
    const std::string saved = folder + withoutExtension(still.file) + ".tv1";
    if (!must("open", {fileExists(saved) ? saved : folder + kRawFolder + still.file})) return 1;
    auto* document = dynamic_cast<ZBasicDoc*>(app.documents.active());
    document->magx = document->magy = kWideFieldPixel;
    document->calibrated = 1;
    document->userunits = "um";
    if (!must("command", {"Find nailfold loops"}) || !must("command", {"Add loops to results"})) return 1;
    std::printf("%-16s %7.2f  %s (%s)\n", still.file.c_str(), still.perMm, document->resultText.c_str(),
                still.about.c_str());
    if (!must("save", {saved}) || !must("close", {})) return 1;
  }
  if (!wide.empty() && !must("export", {folder + "loop-results.csv"})) return 1;
  // A folder may stem from before there was a chart.
  if (fileExists(folder + kChart)) {
    if (!must("open", {folder + kChart})) return 1;
    auto* chart = dynamic_cast<ZchartDoc*>(app.documents.active());
    if (!chart) return 1;
    const PulseRates found = findPulse(*chart);
    std::printf("\n%-12s %9s %12s %12s  beats a minute\n%-12s %9.2f %12.2f %12.2f\n", "chart", "true pulse",
                "of maxima", "of spectra", kChart, truePulse(folder), found.ofMaxima, found.ofSpectra);
    chart->resultText = format("Pulse %.1f a minute", found.ofMaxima);
    if (!must("save", {}) || !must("close", {})) return 1;
  }
  if (fileExists(folder + kScan)) {
    if (!must("open", {folder + kScan})) return 1;
    auto* scan = dynamic_cast<ZlineScanBaseDoc*>(app.documents.active());
    if (!scan || !must("command", {"Calculate velocity"})) return 1;
    scan->resultText = format("Velocity %.1f um/s, %s", scan->statistics().mean, scan->judgement().c_str());
    std::printf("\n%-12s %9s %12s  um/s\n%-12s %9.1f %12.1f  %s\n", "linescan", "true", "found", kScan,
                kDemonstrationVelocity, scan->statistics().mean, scan->judgement().c_str());
    if (!must("save", {}) || !must("close", {})) return 1;
  }
  std::printf("\n");
  for (const DemonstrationVideo& video : kDemonstrationVideos) {
    const std::string path = folder + video.name + ".dtv";
    if (!fileExists(path)) continue;  // a folder may stem from before there were videos
    if (!must("open", {path})) return 1;
    std::printf("%-12s %s (%s)\n", (std::string(video.name) + ".dtv").c_str(), knownOf(folder, video).c_str(),
                video.about);
    if (!must("close", {})) return 1;
  }
  std::printf("\nImage Results\n");
  const StepResult table = runner.runStep({"results", {"Image Results"}, "demonstration", 0});
  std::fputs(table.text.c_str(), stdout);
  const StepResult loops = runner.runStep({"results", {"Nailfold Loops"}, "demonstration", 0});
  if (loops.ok) std::printf("\nNailfold Loops\n%s", loops.text.c_str());
  std::printf("\nRows of the database\n");
  for (const ResultRow& row : app.db->resultsOf(theExams().examId()))
    std::printf("%4i  %s  %-12s %s\n", row.id, row.created.c_str(), row.filename.c_str(), row.result.c_str());
  return 0;
}

}  // namespace tarnvisor
