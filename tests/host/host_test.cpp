#include "host/host.h"

#include "support/testhost.h"

namespace tarnvisor {
namespace {

class FormFields : public ::testing::Test {
 protected:
  FormFields() {
    form.add("&Whole:", whole, {1, 9})
        .add("Number...", number, {-0.5, 0.5, "Half at most!"})
        .add("At least", atLeast, {.low = 2})
        .add("Any", any)
        .add("Text", text)
        .addLongText("Notes", notes)
        .addLongText("About", about, true)
        .addCheck("&Flip", check)
        .addChoice("Finger", choice, {"Index", "Ring", "3"})
        .addNote("Whole");
  }
  int32_t whole = 5, any = 1, check = 0, choice = 0;
  double number = 0, atLeast = 3;
  std::string text = "t", notes = "n", about = "a";
  Form form{"Title"};
};

TEST_F(FormFields, FieldsAreFoundByPlainLabel) {
  for (const char* label : {"Whole", "whole", "WHOLE:", "w&hole", "Number", "number...", "flip", "at least "})
    EXPECT_NE(form.find(label), nullptr) << label;
  for (const char* label : {"", "Who", "Title"}) EXPECT_EQ(form.find(label), nullptr) << label;
  EXPECT_EQ(form.find("Whole")->kind, FormField::Kind::Whole) << "never the note";
}

TEST_F(FormFields, FieldsTakeOnlyWhatTheirLimitsAllow) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"Whole", "9", "", "9"},
      {"Whole", " 1 ", "", "1"},
      {"Whole", "0", "&Whole: must be from 1 to 9.", "1"},
      {"Whole", "10", "&Whole: must be from 1 to 9.", "1"},
      {"Whole", "2.5", "&Whole: must be a whole number.", "1"},
      {"Whole", "", "&Whole:: \"\" is not a number.", "1"},
      {"Whole", "2x", "&Whole:: \"2x\" is not a number.", "1"},
      {"Number", "-0.5", "", "-0.5"},
      {"Number", "0.51", "Half at most!", "-0.5"},
      {"Number", "nan", "Number...: \"nan\" is not a number.", "-0.5"},
      {"Number", "1e999", "Number...: \"1e999\" is not a number.", "-0.5"},
      {"At least", "1.5", "At least must be at least 2.", "3"},
      {"At least", "1e30", "", "1e+30"},
      {"Any", "-2147483648", "", "-2147483648"},
      {"Any", "2147483648", "Any must be from -2147483648 to 2147483647.", "-2147483648"},
      {"Text", " any \n", "", " any \n"},
      {"Notes", "", "", ""},
      {"About", "x", "About can't be changed.", "a"},
      {"Flip", "1", "", "1"},
      {"Flip", "No", "", "0"},
      {"Flip", "YES", "", "1"},
      {"Flip", "2", "&Flip must be from 0 to 1.", "1"},
      {"Finger", "ring", "", "Ring"},
      {"Finger", "0", "", "Index"},
      {"Finger", "3", "", "3"},
      {"Finger", "4", "Finger must be from 0 to 2.", "3"},
      {"Finger", "-1", "Finger must be from 0 to 2.", "3"},
      {"Finger", "thumb", "Finger: \"thumb\" is none of Index, Ring, 3.", "3"}};
  for (const auto& [label, typed, problem, value] : cases) {
    const FormField* field = form.find(label);
    ASSERT_NE(field, nullptr) << label;
    EXPECT_EQ(field->take(typed), problem) << label;
    EXPECT_EQ(field->value(), value) << label << " " << typed;
  }
  EXPECT_EQ(whole, 1);
  EXPECT_EQ(choice, 2);
  EXPECT_EQ(form.fields().back().value(), "");
  EXPECT_NE(form.fields().back().take("x"), "");
  choice = 7;
  EXPECT_EQ(form.find("Finger")->value(), "7") << "an index without a choice is shown as it is";
}

TEST(StayingForm, ReadingsAreReadAndSlidersTakeWhatLiesWithin) {
  std::string rate = "30.0";
  int32_t gain = 5;
  Form form("Camera");
  form.addReading("rate", rate).addSlider("gain", gain, -10, 10);
  rate = "29.5";
  EXPECT_EQ(form.find("rate")->value(), "29.5");
  EXPECT_EQ(form.find("rate")->take("1"), "rate can't be changed.");
  EXPECT_EQ(form.find("gain")->take("11"), "gain must be from -10 to 10.");
  EXPECT_EQ(form.find("gain")->take("-10"), "");
  EXPECT_EQ(gain, -10);
}

TEST(Host, DeclinesEverythingWhenNobodyIsThere) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(host().messages.show("told"), Answer::Ok);
  EXPECT_EQ(host().messages.show("a", Buttons::YesNo), Answer::No);
  EXPECT_EQ(host().messages.show("b", Buttons::OkCancel), Answer::Cancel);
  EXPECT_EQ(host().messages.show("c", Buttons::YesNoCancel), Answer::Cancel);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "told\na\nb\nc\n");
  Form form("F");
  EXPECT_FALSE(host().forms.run(form));
  const auto staying = host().forms.show(form, {.place = Point{3, 4}});
  EXPECT_TRUE(staying->isOpen());
  EXPECT_EQ(staying->place(), (Point{3, 4}));
  EXPECT_FALSE(host().choosers.openFile({}));
  EXPECT_FALSE(host().clipboard.text());
}

TEST(Host, ScopesNest) {
  Host* const nobody = &host();
  {
    TestHost outer;
    Host* const first = &host();
    EXPECT_NE(first, nobody);
    {
      TestHost inner;
      host().messages.show("inside");
      EXPECT_EQ(inner.messages.size(), 1u);
    }
    EXPECT_EQ(&host(), first);
    EXPECT_TRUE(outer.messages.empty());
  }
  EXPECT_EQ(&host(), nobody);
}

}  // namespace
}  // namespace tarnvisor
