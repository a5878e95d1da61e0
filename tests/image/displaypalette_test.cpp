// The charts' palette, against values worked out by hand.
#include "image/displaypalette.h"

#include "settings/settings.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

PaletteEntry bgr(int blue, int green, int red) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

TEST(DisplayPalette, GreyRunsFromTheTopDownWithEntryZeroBlack) {
  DisplayPalette p;
  for (int i = 0; i < 256; ++i) EXPECT_EQ(p.entries()[static_cast<size_t>(i)], bgr(i, i, i));
  p.setColournum(10);  // steps of 25
  EXPECT_EQ(p.entries()[9], bgr(255, 255, 255));
  EXPECT_EQ(p.entries()[8], bgr(230, 230, 230));
  EXPECT_EQ(p.entries()[1], bgr(55, 55, 55));
  EXPECT_EQ(p.entries()[0], bgr(0, 0, 0));
  EXPECT_EQ(p.entries()[10], bgr(0, 0, 0));
}

TEST(DisplayPalette, RainbowPassesItsEightSegments) {
  DisplayPalette p;
  p.setColour(true);
  // Segments of 32 entries: fast steps of 6, slow ones of 2.
  const std::pair<size_t, PaletteEntry> cases[] = {
      {0, bgr(255, 0, 0)},     {1, bgr(255, 6, 0)},     {31, bgr(255, 186, 0)},  {32, bgr(255, 192, 0)},
      {33, bgr(255, 194, 0)},  {64, bgr(255, 255, 0)},  {65, bgr(253, 255, 0)},  {96, bgr(191, 255, 0)},
      {97, bgr(185, 255, 0)},  {128, bgr(0, 255, 0)},   {129, bgr(0, 255, 6)},   {160, bgr(0, 255, 192)},
      {191, bgr(0, 255, 254)}, {192, bgr(0, 255, 255)}, {193, bgr(0, 253, 255)}, {224, bgr(0, 191, 255)},
      {255, bgr(0, 5, 255)}};
  for (const auto& [index, entry] : cases) EXPECT_EQ(p.entries()[index], entry) << index;
  p.setColournum(80);  // segments of 10: steps of 19.2 and 6.4, truncated
  EXPECT_EQ(p.entries()[1], bgr(255, 19, 0));
  EXPECT_EQ(p.entries()[3], bgr(255, 57, 0));
  EXPECT_EQ(p.entries()[11], bgr(255, 198, 0));
  EXPECT_EQ(p.entries()[80], bgr(0, 0, 0));
}

TEST(DisplayPalette, OfAnyNumberOfColoursStaysWithinItsEntries) {
  DisplayPalette p;
  for (const bool colour : {false, true})
    for (const int32_t count : {-5, 0, 1, 7, 8, 9, 255, 257, INT32_MAX}) {
      p.setColour(colour);
      p.setColournum(count);
      EXPECT_EQ(p.colournum(), std::clamp(count, 1, 256));
    }
}

TEST(DisplayPalette, InverseSwapsEndsAndBackgroundTakesEntryZero) {
  DisplayPalette p;
  p.setInverse(true);
  EXPECT_EQ(p.entries()[0], bgr(255, 255, 255));
  EXPECT_EQ(p.entries()[200], bgr(55, 55, 55));
  p.setInverse(false);
  EXPECT_EQ(p.entries()[200], bgr(200, 200, 200));
  p.setBackgnd(true);
  EXPECT_EQ(p.entries()[0], DisplayPalette::kWindowColour);
  EXPECT_EQ(p.entries()[1], bgr(1, 1, 1));
  p.setBackgnd(false);
  EXPECT_EQ(p.entries()[0], bgr(0, 0, 0));
}

TEST(DisplayPalette, KeepsItsFieldsInTheProfile) {
  TempFolder folder;
  settings.setPath(folder.file("p.ini"));
  DisplayPalette p;
  p.readSettings();
  EXPECT_EQ(p.colournum(), 256);
  p.setColournum(64);
  p.setColour(true);
  p.setBackgnd(true);
  p.saveSettings();
  const std::string text = readWholeText(folder.file("p.ini")).value_or("");
  for (const char* part : {"[Palette]", "colournum=64", "colour=1", "inverse=0", "backgnd=1"})
    EXPECT_NE(text.find(part), std::string::npos) << part << text;
  DisplayPalette q;
  q.readSettings();
  EXPECT_EQ(q.entries(), p.entries());
  settings.setPath("");
}

}  // namespace
}  // namespace tarnvisor
