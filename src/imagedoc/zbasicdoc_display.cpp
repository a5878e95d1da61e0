// How colours become grey, and over which levels a grey picture is spread on the screen.
#include <algorithm>

#include "app/asked.h"
#include "host/host.h"
#include "image/palette.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

void ZBasicDoc::convertToGrey() {
  const WaitScope wait;
  const bool wasColour = theImage()->colourset == kColour;
  Change change(*this, Change::Alters::Pixels);
  if (!change.isReady()) return;
  if (!theImage()->convertToGrey()) {
    change.abandon();
    report("There is not enough memory.");
    return;
  }
  setColourset(colourset);
  finishStep("convert to grey\r\n" +
             (wasColour ? "by " + greyWeightsText(weightsOfImages()) : std::string()));
}

void ZBasicDoc::greyWeightsCommand() {
  GreyWeights wanted = greyWeights;
  if (wanted.light < kAsStored || wanted.light > kOwnWeights) wanted.light = kAsStored;
  Form form("Grey weights");
  form.addChoice("Grey from", wanted.light, {"as stored", "luminance", "green only", "own weights"});
  form.addNote("Luminance counts red 0.299, green 0.587 and blue 0.114. Blood stands out most in green.")
      .addNote(
          "Own weights count the light of their name. As stored they do so in images, while in videos that "
          "are read as grey red's counts blue light, green's red light and blue's green light.");
  const Limits part{0, 10, {}};
  form.add("Red light", wanted.red, part).add("Green light", wanted.green, part);
  form.add("Blue light", wanted.blue, part);
  if (!asked(form)) return;
  constexpr double kRounding = 1e-6;
  if (wanted.light == kOwnWeights && wanted.red + wanted.green + wanted.blue > 1 + kRounding)
    return report("The weights add up to more than 1: white would come out dark.");
  greyWeights = wanted;
  saveGreyWeights();
  updateAllViews();
}

void ZBasicDoc::zeroAsBlack() {
  zeroasblack = !zeroasblack;
  theImage()->blackZero = zeroasblack;
  theImage()->setPalette(-1);
  updateAllViews();
}

bool ZBasicDoc::isAutoAdjusted() const { return adjustPaletteOn != 0; }

void ZBasicDoc::autoAdjustDisplay() {
  adjustPaletteOn = !adjustPaletteOn;
  theImage()->setPalette(-1);
  updateAllViews();
}

// The two levels over which the adjusted palette spreads the picture stay within 1 to 255 and at least 10
// apart.
void ZBasicDoc::moveDisplayLimits(int32_t white, int32_t black) {
  constexpr int32_t kApart = 10;
  adjustpaldark = std::clamp(adjustpaldark, 1, 255 - kApart);
  adjustpallight = std::clamp(adjustpallight, adjustpaldark + kApart, 255);
  adjustpallight = std::clamp(adjustpallight + white, adjustpaldark + kApart, 255);
  adjustpaldark = std::clamp(adjustpaldark + black, 1, adjustpallight - kApart);
  theImage()->setPalette(-1);
  updateAllViews();
}

void ZBasicDoc::displayBrightnessUp() { moveDisplayLimits(5, 0); }
void ZBasicDoc::displayBrightnessDown() { moveDisplayLimits(-5, 0); }
void ZBasicDoc::displayDarknessUp() { moveDisplayLimits(0, -5); }
void ZBasicDoc::displayDarknessDown() { moveDisplayLimits(0, 5); }

}  // namespace tarnvisor
