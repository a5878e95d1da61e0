#include "batch/study.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>

#include "base/commit.h"
#include "base/text.h"
#include "base/version.h"
#include "batch/studychunk.h"
#include "batch/studymerge.h"
#include "batch/studystatus.h"
#include "exams/subjectdirectory.h"
#include "settings/profile.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kMalformed = 2, kExamsFailed = 3, kChunksLeft = 4 };

constexpr const char* kUsage =
    "usage: tarnvisor-study plan EXAMS.csv STEPS.txt STUDY [--chunk EXAMS] [--profile FILE] [--date DAY] [--pictures]\n"
    "       tarnvisor-study chunk STUDY N... [--threads N] [--limit SECONDS]\n"
    "       tarnvisor-study status STUDY [--left]\n"
    "       tarnvisor-study merge STUDY [--to FOLDER] [--without-documents]\n"
    "       tarnvisor-study sweep STUDY [--hours HOURS]\n"
    "plan cuts a list of exams into chunks of 200, each to be run by itself, anywhere, in any order and again;\n"
    "merge makes one set of tables and one data folder of them, which don't depend on who ran what.\n"
    "  --chunk EXAMS        exams in a chunk; one should take a minute or more\n"
    "  --profile FILE       settings of the study, in place of a copy of the workstation's\n"
    "  --date DAY           of exams without a date in the list: 2025-03-14, in place of today\n"
    "  --pictures           also a picture of each saved document, with its marks\n"
    "  --threads N          of one exam, 1 if not told: several workers share a computer better than one\n"
    "  --limit SECONDS      after which an exam has failed, 3600 if not told\n"
    "  --left               print the numbers of the chunks that are not done, a line each, and nothing else\n"
    "  --to FOLDER          of the merged study, STUDY/merged if not told\n"
    "  --without-documents  leave the documents with the chunks\n"
    "  --hours HOURS        age of unfinished work that is removed, 24 if not told (of other computers 1 at least)\n"
    "  --version, --help\n"
    "Exit codes: 0 done, 1 failed, 2 malformed (nothing was done), 3 done but for exams that failed (status, merge),\n"
    "4 chunks are left (status).\n";

// Options stand anywhere; those with a value take the next argument.
struct Arguments {
  std::vector<std::string> places;
  std::map<std::string, std::string> options;
  bool has(const std::string& option) const { return options.contains(option); }
  std::string of(const std::string& option, const std::string& otherwise) const {
    const auto told = options.find(option);
    return told == options.end() ? otherwise : told->second;
  }
};

struct Command {
  const char* word;
  size_t fewest, most;  // places
  std::vector<std::string> withValue, alone;
  int (*run)(const Arguments& arguments, const std::string& workstation);
};

int fail(int code, const std::string& words) {
  std::fprintf(stderr, "tarnvisor-study: %s%s", words.c_str(), words.ends_with('\n') ? "" : "\n");
  return code;
}

// A number from `least` on; what it is called is told where it is none.
template <class Number>
bool readNumber(const std::string& text, Number least, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= least;
}

int plan(const Arguments& a, const std::string& workstation) {
  PlanWish wish{.manifest = a.places[0],
                .steps = a.places[1],
                .folder = a.places[2],
                .settings = a.of("--profile", "")};
  if (!readNumber(a.of("--chunk", "200"), 1, wish.chunkSize))
    return fail(kMalformed, "--chunk is a number of exams");
  wish.day = a.of("--date", "");
  if (dateOfBirth(wish.day) != wish.day)
    return fail(kMalformed, "--date is a day as 2025-03-14, not in the future");
  wish.pictures = a.has("--pictures");
  if (wish.settings.empty()) {
    if (!selectProfile(workstation, false)) return fail(kFailed, "the workstation's settings can't be found");
    wish.settings = settings.path();
  }
  if (!fileExists(wish.settings)) return fail(kMalformed, wish.settings + " is not there");
  // Of another kind of file no setting would be read, and the factory's would be the study's.
  if (("\n" + readWholeText(wish.settings).value_or("")).find("\n[") == std::string::npos)
    return fail(kMalformed, wish.settings + " is no settings file: it has no line such as [Settings]");
  if (const Outcome made = makePlan(wish); !made) return fail(kMalformed, made.why());
  StudyPlan made;
  if (const Outcome opened = made.open(wish.folder); !opened) return fail(kFailed, opened.why());
  std::printf("%s: %lli exams in %i chunks, settings of %s\n", wish.folder.c_str(),
              static_cast<long long>(made.exams()), made.chunks(), wish.settings.c_str());
  if (std::ranges::find(made.columns(), "date") == made.columns().end())
    std::printf("the list has no column \"date\": all exams are dated %s\n", made.fact("day").c_str());
  return kDone;
}

int runChunks(const Arguments& a, const std::string&) {
  ExamLimits limits;
  if (!readNumber(a.of("--threads", "1"), 1, limits.threads))
    return fail(kMalformed, "--threads is a number from 1");
  if (!readNumber(a.of("--limit", "3600"), 0.001, limits.seconds))
    return fail(kMalformed, "--limit is a number of seconds");
  std::vector<int32_t> numbers;
  for (size_t i = 1; i < a.places.size(); ++i)
    if (!readNumber(a.places[i], 1, numbers.emplace_back()))
      return fail(kMalformed, "\"" + a.places[i] + "\" is no number of a chunk");
  StudyPlan study;
  if (const Outcome opened = study.open(a.places[0]); !opened) return fail(kFailed, opened.why());
  for (const int32_t number : numbers) {
    int32_t failures = 0;
    const bool wasDone = study.isDone(number);
    if (const Outcome done = runChunk(study, number, limits, failures); !done)
      return fail(kFailed, "chunk " + chunkName(number) + ": " + done.why());
    std::printf("chunk %s %s\n", chunkName(number).c_str(),
                wasDone ? "was done already" : format("done; failed exams: %i", failures).c_str());
  }
  return kDone;
}

int tellStatus(const Arguments& a, const std::string&) {
  StudyPlan study;
  if (const Outcome opened = study.open(a.places[0]); !opened) return fail(kFailed, opened.why());
  const StudyStatus status = statusOf(study);
  if (a.has("--left")) {
    for (const int32_t chunk : status.left) std::printf("%i\n", chunk);
    return kDone;
  }
  std::printf("exams %lli\nchunks %i\nleft %zu\nfailed exams %lli\nunfinished work %zu\n",
              static_cast<long long>(study.exams()), study.chunks(), status.left.size(),
              static_cast<long long>(status.failures), status.parts);
  return !status.left.empty() ? kChunksLeft : status.failures > 0 ? kExamsFailed : kDone;
}

int merge(const Arguments& a, const std::string&) {
  StudyPlan study;
  if (const Outcome opened = study.open(a.places[0]); !opened) return fail(kFailed, opened.why());
  const MergeWish wish{.folder = a.of("--to", study.folder() + "merged"),
                       .withDocuments = !a.has("--without-documents")};
  MergedStudy merged;
  if (const Outcome done = mergeStudy(study, wish, merged); !done) return fail(kFailed, done.why());
  std::printf("%s: %lli exams\n", wish.folder.c_str(),
              static_cast<long long>(study.exams() - merged.failures));
  if (!merged.before.empty())
    std::printf("what was merged before is another, and is kept with all that was corrected in it: %s\n",
                merged.before.c_str());
  if (merged.failures == 0) return kDone;
  return fail(kExamsFailed, format("failed exams: %lli; %s/failures.csv tells which and why",
                                   static_cast<long long>(merged.failures), wish.folder.c_str()));
}

int sweep(const Arguments& a, const std::string&) {
  double hours = 0;
  if (!readNumber(a.of("--hours", "24"), 0.0, hours)) return fail(kMalformed, "--hours is a number of hours");
  StudyPlan study;
  if (const Outcome opened = study.open(a.places[0]); !opened) return fail(kFailed, opened.why());
  std::printf("%zu folders of unfinished work removed\n", sweepParts(study, hours));
  return kDone;
}

const std::vector<Command>& commands() {
  constexpr size_t kAny = std::numeric_limits<size_t>::max();
  static const std::vector<Command> all{
      {"plan", 3, 3, {"--chunk", "--profile", "--date"}, {"--pictures"}, plan},
      {"chunk", 2, kAny, {"--threads", "--limit"}, {}, runChunks},
      {"status", 1, 1, {}, {"--left"}, tellStatus},
      {"merge", 1, 1, {"--to"}, {"--without-documents"}, merge},
      {"sweep", 1, 1, {"--hours"}, {}, sweep}};
  return all;
}

// Empty, or what is wrong.
std::string read(const std::vector<std::string>& given, const Command& command, Arguments& arguments) {
  for (size_t i = 1; i < given.size(); ++i) {
    const std::string& each = given[i];
    const bool isOption = each.starts_with("--");
    if (!isOption) {
      arguments.places.push_back(each);
    } else if (std::ranges::find(command.alone, each) != command.alone.end()) {
      arguments.options[each] = "";
    } else if (std::ranges::find(command.withValue, each) == command.withValue.end()) {
      return "\"" + given[0] + "\" has no option " + each;
    } else if (++i == given.size()) {
      return each + " needs a value";
    } else {
      arguments.options[each] = given[i];
    }
  }
  if (arguments.places.size() < command.fewest) return "\"" + given[0] + "\" needs more arguments";
  if (arguments.places.size() > command.most) return "\"" + given[0] + "\" has too many arguments";
  return {};
}

}  // namespace

int runStudy(const std::vector<std::string>& given, const std::string& workstation) {
  const std::string word = given.empty() ? "" : given[0];
  if (word == "--help") return std::fputs(kUsage, stdout), kDone;
  if (word == "--version") {
    std::printf("%s %s (commit %s)\n", kStudyProgram, versionText().c_str(), programCommit());
    return kDone;
  }
  const auto command = std::ranges::find(commands(), word, &Command::word);
  if (command == commands().end())
    return fail(kMalformed, (word.empty() ? "" : "unknown command \"" + word + "\"\n") + kUsage);
  Arguments arguments;
  if (const std::string wrong = read(given, *command, arguments); !wrong.empty())
    return fail(kMalformed, wrong + "\n" + kUsage);
  const int code = command->run(arguments, workstation);
  return std::fflush(stdout) == 0 ? code : fail(kFailed, "what was told can't be written");
}

}  // namespace tarnvisor
