#include "app/processstate.h"

#include <variant>
#include <vector>

#include "base/numbers.h"
#include "image/palette.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

ProcessState process;

namespace {

enum class Keep { Yes, No };
enum class As { Whole, Flag, Number, TruncatedNumber };

// One application-wide key. Its default is what the bound variable holds.
struct Key {
  const char* section;
  const char* key;
  std::variant<int32_t*, double*, std::string*> bound;
  Keep written = Keep::Yes;
  As as = As::Whole;
};

std::vector<Key> keysBeforeLogging() {
  VelocitySettings& v = process.velocity;
  return {
      {"Settings", "floEN", &process.floEnabled, Keep::No},
      {"Settings", "tarnvisorEN", &process.tarnvisorEnabled, Keep::No},
      {"Settings", "vivocapEN", &process.vivocapEnabled, Keep::No},
      {"FLOcalcs", "cbvMethod", &v.cbvMethod},
      {"FLOcalcs", "minThreshold", &v.minThreshold},
      {"FLOcalcs", "threshOfAv2", &v.threshOfAv2},
      {"FLOcalcs", "nOverThresh", &v.nOverThresh},
      {"FLOcalcs", "LoCutOff", &v.loCutOff},
      {"FLOcalcs", "noisefloorRC", &v.noisefloorRC},
      {"FLOcalcs", "autonoise", &v.autonoise, Keep::Yes, As::Flag},
      {"FLOcalcs", "ped1", &v.ped1},
      {"FLOcalcs", "ped2", &v.ped2},
      {"FLOcalcs", "ped3", &v.ped3},
      {"FLOcalcs", "keepDop", &v.keepDop},
      {"FLOcalcs", "cutDopTop", &v.cutDopTop},
      {"FLOcalcs", "FFTwindow", &v.fftWindow},
      {"FLOcalcs", "FSlinkthreshold", &v.fsLinkThreshold, Keep::Yes, As::Flag},
      {"FLOcalcs", "FSthreshold", &v.fsThreshold, Keep::Yes, As::Number},
      {"FLOcalcs", "momentRows", &v.momentRows},
  };
}

std::vector<Key> keysAfterLogging(int32_t& expertMode, int32_t& showDb, int32_t& fgMode) {
  return {
      {"Settings", "red", &greyWeights.red, Keep::No, As::Number},
      {"Settings", "green", &greyWeights.green, Keep::No, As::Number},
      {"Settings", "blue", &greyWeights.blue, Keep::No, As::Number},
      {"Settings", "greylight", &greyWeights.light, Keep::No},
      {"Dynamic settings", "direct2disc", &process.direct2disc},
      {"directories", "recorddir", &process.recordDir},
      {"directories", "basename", &process.baseName},
      {"Dynamic settings", "triggermovie", &process.triggermovie},
      {"Settings", "expertmode", &expertMode},
      {"Settings", "showdb", &showDb, Keep::No},
      {"Settings", "fgmode", &fgMode},
      {"Settings", "adjustpaldark", &adjustpaldark, Keep::Yes, As::TruncatedNumber},
      {"Settings", "adjustpallight", &adjustpallight, Keep::Yes, As::TruncatedNumber},
  };
}

void read(const std::vector<Key>& keys, bool changeableOnly = false) {
  for (const Key& k : keys) {
    if (changeableOnly && k.written == Keep::No) continue;
    if (const auto* text = std::get_if<std::string*>(&k.bound))
      **text = settings.getString(k.section, k.key, **text);
    if (const auto* number = std::get_if<double*>(&k.bound))
      **number = settings.getDouble(k.section, k.key, **number);
    if (const auto* whole = std::get_if<int32_t*>(&k.bound)) {
      **whole = k.as == As::TruncatedNumber ? truncated(settings.getDouble(k.section, k.key, **whole))
                                            : settings.getInt(k.section, k.key, **whole);
      if (k.as == As::Flag) **whole = **whole != 0;
    }
  }
}

void collect(const std::vector<Key>& keys, std::vector<CSettingsFile::Entry>& values) {
  for (const Key& k : keys) {
    if (k.written == Keep::No) continue;
    if (const auto* text = std::get_if<std::string*>(&k.bound)) values.push_back({k.section, k.key, **text});
    if (const auto* number = std::get_if<double*>(&k.bound))
      values.push_back(CSettingsFile::entryOf(k.section, k.key, **number));
    if (const auto* whole = std::get_if<int32_t*>(&k.bound))
      values.push_back(CSettingsFile::entryOf(k.section, k.key, **whole));
  }
}

}  // namespace

void readApplicationSettings(int32_t& expertMode, int32_t& showDb, int32_t& fgMode) {
  read(keysBeforeLogging());
  setLogging(true);
  read(keysAfterLogging(expertMode, showDb, fgMode));
}

void resetApplicationSettings(int32_t& expertMode, int32_t& fgMode) {
  const ProcessState factory;
  process.velocity = factory.velocity;
  process.direct2disc = factory.direct2disc;
  process.triggermovie = factory.triggermovie;
  process.baseName = factory.baseName;
  expertMode = fgMode = 1;
  resetPaletteSettings();
}

void rereadApplicationSettings(int32_t& expertMode, int32_t& fgMode) {
  int32_t showDb = 0;
  read(keysBeforeLogging(), true);
  read(keysAfterLogging(expertMode, showDb, fgMode), true);
}

void saveApplicationSettings(int32_t expertMode, int32_t fgMode) {
  int32_t showDb = 0;
  std::vector<CSettingsFile::Entry> values;
  collect(keysBeforeLogging(), values);
  collect(keysAfterLogging(expertMode, showDb, fgMode), values);
  settings.set(values);
}

}  // namespace tarnvisor
