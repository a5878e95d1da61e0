#include "base/lengthunits.h"

#include "base/text.h"

namespace tarnvisor {

double micrometresOf(std::string_view unit) {
  static constexpr struct {
    const char* name;
    double micrometres;
  } kUnits[] = {{"um", 1},           {"\xc2\xb5m", 1},  // the micro sign
                {"\xce\xbcm", 1},                       // the Greek letter
                {"\xb5m", 1},                           // the micro sign in one byte
                {"\\u00b5m", 1},                        // as a program writes it that keeps to ASCII
                {"micron", 1},       {"microns", 1},      {"micrometer", 1},   {"micrometre", 1},
                {"micrometers", 1},  {"micrometres", 1},  {"nm", 1e-3},        {"nanometer", 1e-3},
                {"nanometre", 1e-3}, {"mm", 1e3},         {"millimeter", 1e3}, {"millimetre", 1e3},
                {"cm", 1e4},         {"centimeter", 1e4}, {"centimetre", 1e4}, {"m", 1e6},
                {"meter", 1e6},      {"metre", 1e6},      {"in", 25400},       {"inch", 25400},
                {"inches", 25400}};
  for (const auto& known : kUnits)
    if (equalIgnoringCase(trimmed(unit), known.name)) return known.micrometres;
  return 0;
}

}  // namespace tarnvisor
