#include "imagedoc/processing.h"

#include "image/palette.h"
#include "measure/tortuosity.h"
#include "settings/settings.h"

namespace tarnvisor {

FinderParameters finderParameters;

namespace {

constexpr const char* kSection = "ProcessingArgs";
struct FinderKey {
  const char* key;
  int32_t FinderParameters::*value;
};
constexpr FinderKey kFinderKeys[] = {{"uw1", &FinderParameters::uw1},   {"uw2", &FinderParameters::uw2},
                                     {"w3", &FinderParameters::w3},     {"w4", &FinderParameters::w4},
                                     {"umax", &FinderParameters::umax}, {"umin", &FinderParameters::umin}};

}  // namespace

void readProcessingSettings() {
  readGreyWeights();
  const FinderParameters standard;
  for (const FinderKey& k : kFinderKeys)
    finderParameters.*k.value = settings.getInt(kSection, k.key, standard.*k.value);
  const TortuositySettings usual;
  tortuositySettings.minlength = settings.getDouble("tortuosity", "minlength", usual.minlength);
  tortuositySettings.mincurvelength =
      settings.getDouble("tortuosity", "mincurvelength", usual.mincurvelength);
  tortuositySettings.minangle = settings.getDouble("tortuosity", "minangle", usual.minangle);
}

void writeProcessingSettings() {
  for (const FinderKey& k : kFinderKeys) settings.setInt(kSection, k.key, finderParameters.*k.value);
}

ApexParameters readApexSettings() {
  ApexParameters apex;
  apex.apexw = settings.getInt(kSection, "apexw", apex.apexw);
  apex.stddev = settings.getDouble(kSection, "stddev", apex.stddev);
  apex.gpeak = settings.getInt(kSection, "gpeak", apex.gpeak);
  apex.ggain = settings.getInt(kSection, "ggain", apex.ggain);
  apex.apexfactor = settings.getDouble(kSection, "apexfactor", apex.apexfactor);
  apex.apexoffset = settings.getInt(kSection, "apexoffset", apex.apexoffset);
  return apex;
}

}  // namespace tarnvisor
