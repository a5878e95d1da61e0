#include "batch/script.h"

#include "base/commit.h"
#include "base/version.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

using Words = std::vector<std::string>;

TEST(Script, LinesAreSplitAtBlanksOutsideQuotes) {
  struct Case {
    std::string line;
    Words words;
    bool closed = true;
  };
  const Case cases[] = {{"", {}},
                        {" \t\r", {}},
                        {"# only words", {}},
                        {"open a.tv1", {"open", "a.tv1"}},
                        {"\topen  a.tv1\t# the first\r", {"open", "a.tv1"}},
                        {"open a#b", {"open", "a#b"}},
                        {"open \"a # b\"#c", {"open", "a # b#c"}},
                        {"open \"a b\" \"\"", {"open", "a b", ""}},
                        {"open a\" \"b", {"open", "a b"}},
                        {R"(open "say \"hi\" C:\\x\n")", {"open", R"(say "hi" C:\x\n)"}},
                        {R"(open C:\\x)", {"open", R"(C:\\x)"}},
                        {"open \"a b", {"open", "a b"}, false},
                        {"open \"a\\\"", {"open", "a\""}, false}};
  for (const Case& c : cases) {
    Words words;
    EXPECT_EQ(splitStep(c.line, words), c.closed) << c.line;
    EXPECT_EQ(words, c.words) << c.line;
  }
}

TEST(Script, EveryStepIsTakenInItsRightForms) {
  const auto lines = split(
      "subject anna;exam left;exam left cold;open x.tv1;set a b c;roi 1,2,-3,4;roi none;roi circle;list 0;list 8;"
      "dim point 1,2;dim line 1,2 3,4;dim polyline 1,2 3,4 5,6;dim freehand 1,2 3,4;dim circle 1,2 3,4;"
      "dim polygon 1,2 3,4 5,6;dim rect 1,2 3,4;command \"Find Loops\" \"a=1\";import x.bmp;select 1.5 -2e3;"
      "frame 12;trace out;save;save x.tv1;export x.csv;results x.csv;print notes;snapshot x.png;close",
      ';');
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  std::vector<Step> steps;
  EXPECT_EQ(parseScript("# study\n\n" + text, "s.txt", steps), "");
  ASSERT_EQ(steps.size(), lines.size());
  EXPECT_EQ(steps[0].where(), "s.txt:3");
  EXPECT_EQ(steps.back().where(), "s.txt:31");
  EXPECT_THAT(steps[5].numbers(0), ElementsAre(1, 2, -3, 4));
  for (const char* what : {"notes", "result", "dims", "traces", "offsets", "fps", "status"})
    EXPECT_EQ(parseStep(std::string("print ") + what, "s", 1, steps), "");
}

TEST(Script, EveryWrongFormEndsWithCode2AndItsPlace) {
  const std::pair<const char*, const char*> cases[] = {
      {"jump", "unknown step \"jump\""},
      {"Open x", "unknown step \"Open\""},
      {"open", "\"open\" needs more arguments"},
      {"open a b", "\"open\" has too many arguments"},
      {"subject", "\"subject\" needs more arguments"},
      {"exam a b c", "\"exam\" has too many arguments"},
      {"set a b", "\"set\" needs more arguments"},
      {"command", "\"command\" needs more arguments"},
      {"save a b", "\"save\" has too many arguments"},
      {"close all", "\"close\" has too many arguments"},
      {"open \"x", "a quote is not closed"},
      {"roi 1,2,3", "a ROI is left,top,right,bottom or none or circle"},
      {"roi 1,2,3,4,5", "a ROI is left,top,right,bottom or none or circle"},
      {"roi 1,2,3,", "a ROI is left,top,right,bottom or none or circle"},
      {"roi 1,2,3,4x", "a ROI is left,top,right,bottom or none or circle"},
      {"roi 1,2,3,2147483648", "a ROI is left,top,right,bottom or none or circle"},
      {"list 9", "a list is a number from 0 to 8"},
      {"list -1", "a list is a number from 0 to 8"},
      {"list 1,2", "a list is a number from 0 to 8"},
      {"dim blob 1,2", "unknown kind of dimension \"blob\""},
      {"dim line", "\"dim\" needs more arguments"},
      {"dim point 1", "\"1\" is not a point x,y"},
      {"dim line 1,2 3,4,5", "\"3,4,5\" is not a point x,y"},
      {"dim point 1,2 3,4", "a point has one point"},
      {"dim line 1,2", "a line has two points"},
      {"dim circle 1,2 3,4 5,6", "a circle has two points"},
      {"dim rect 1,2", "a rect has two points"},
      {"dim polyline 1,2", "a polyline has two points or more"},
      {"dim polygon 1,2", "a polygon has two points or more"},
      {"frame 1.5", "\"1.5\" is not a number"},
      {"frame \"\"", "\"\" is not a number"},
      {"select 1", "\"select\" needs more arguments"},
      {"select 1 x", "\"x\" is not a number"},
      {"select nan 1", "\"nan\" is not a number"},
      {"select 1 inf", "\"inf\" is not a number"},
      {"select 1 1e999", "\"1e999\" is not a number"},
      {"print all", "print what: notes, result, dims, traces, offsets, fps, velocity or status"}};
  TempFolder folder;
  std::string all;
  std::string text;
  int number = 0;
  for (const auto& [line, problem] : cases) {
    const auto options = parseBatchOptions({"-e", "close", "-e", line});
    EXPECT_EQ(options.exitCode, 2) << line;
    EXPECT_EQ(options.message, std::string("-e:2: ") + problem + "\n");
    text += std::string("close\n") + line + "\n";
    all += folder.file("s.txt") + ":" + std::to_string(number += 2) + ": " + problem + "\n";
  }
  ASSERT_TRUE(replaceFile(folder.file("s.txt"), std::string_view(text)));
  EXPECT_EQ(parseBatchOptions({folder.file("s.txt")}).message, all) << "all wrong steps of a script are told";
}

TEST(Script, OptionsAndScriptsAreTakenInOrder) {
  TempFolder folder;
  ASSERT_TRUE(replaceFile(folder.file("s.txt"), std::string_view("open a\r\nsave\r\n")));
  const auto o = parseBatchOptions({"--json", "-e", "subject s", folder.file("s.txt"), "--data", "d",
                                    "--profile", "p.ini", "--keep-going", "-e", "close"});
  EXPECT_EQ(o.exitCode, -1);
  EXPECT_TRUE(o.json);
  EXPECT_TRUE(o.keepGoing);
  EXPECT_FALSE(o.demonstration);
  EXPECT_EQ(o.dataFolder, "d");
  EXPECT_EQ(o.profile, "p.ini");
  std::vector<std::string> order;
  for (const Step& step : o.steps) order.push_back(fileNameOf(step.where()) + " " + step.line());
  EXPECT_THAT(order, ElementsAre("-e:1 subject s", "s.txt:1 open a", "s.txt:2 save", "-e:2 close"));
  EXPECT_TRUE(parseBatchOptions({"--demonstration"}).demonstration);
  EXPECT_EQ(parseBatchOptions({"--demonstration"}).exitCode, -1) << "needs no steps";
}

TEST(Script, OptionsEndAtOnceWithACodeAndWords) {
  const std::tuple<Words, int, std::string> cases[] = {
      {{}, 2, "usage: "},
      {{"--json"}, 2, "usage: "},
      {{"--help"}, 0, "usage: "},
      {{"-e", "wrong", "--help"}, 0, "usage: "},
      {{"--version"}, 0, "tarnvisor-batch " + versionText() + " (commit " + programCommit() + ")\n"},
      {{"-e"}, 2, "-e needs a value\n"},
      {{"--data"}, 2, "--data needs a value\n"},
      {{"-e", "close", "--profile"}, 2, "--profile needs a value\n"},
      {{"--fast"}, 2, "unknown option --fast\nusage: "},
      {{"-x"}, 2, "unknown option -x\n"},
      {{"/none/s.txt"}, 2, "/none/s.txt: can't be read\n"}};
  for (const auto& [arguments, code, words] : cases) {
    const auto options = parseBatchOptions(arguments);
    EXPECT_EQ(options.exitCode, code) << words;
    EXPECT_THAT(options.message, StartsWith(words));
  }
}

TEST(Script, WrittenStepsReadAsTheyWere) {
  for (const char* argument :
       {"plain", "", "a b", "tab\there", "say \"hi\"", "C:\\x\\", "#1", "a\rb", "\xe9"}) {
    const Step step{"open", {argument}, "s", 1};
    std::vector<Step> again;
    EXPECT_EQ(parseStep(step.line(), "s", 1, again), "") << argument;
    ASSERT_EQ(again.size(), 1u);
    EXPECT_THAT(again[0].args, ElementsAre(argument));
  }
  EXPECT_EQ((Step{"dim", {"line", "1,2", "3 ,4"}, "s", 1}.line()), "dim line 1,2 \"3 ,4\"");
}

TEST(Script, TextIsQuotedForJson) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "\"\""},
      {"a/b 'c'", "\"a/b 'c'\""},
      {"\"\\", R"("\"\\")"},
      {"\n\t\r\x01\x7f", R"("\n\u0009\u000d\u0001\u007f")"},
      {std::string("\0", 1), R"("\u0000")"},
      {"10 \xb5m \xe9", "\"10 \xc2\xb5m \xc3\xa9\""},  // Latin-1
      {"\xc2\xb5 \xe2\x82\xac \xf0\x9f\x98\x80", "\"\xc2\xb5 \xe2\x82\xac \xf0\x9f\x98\x80\""},
      {"\xc2", "\"\xc3\x82\""},                          // cut short
      {"\xe2\x82", "\"\xc3\xa2\xc2\x82\""},              //
      {"\xc0\xaf", "\"\xc3\x80\xc2\xaf\""},              // longer than need be
      {"\xe0\x80\x80", "\"\xc3\xa0\xc2\x80\xc2\x80\""},  //
      {"\xf0\x80\x80\x80", "\"\xc3\xb0\xc2\x80\xc2\x80\xc2\x80\""},
      {"\xed\xa0\x80", "\"\xc3\xad\xc2\xa0\xc2\x80\""},              // half a pair
      {"\xf4\x90\x80\x80", "\"\xc3\xb4\xc2\x90\xc2\x80\xc2\x80\""},  // beyond the last
      {"\xff\xf8", "\"\xc3\xbf\xc3\xb8\""}};
  for (const auto& [text, quoted] : cases) EXPECT_EQ(jsonQuoted(text), quoted) << text;
}

}  // namespace
}  // namespace tarnvisor
