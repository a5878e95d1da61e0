#include "charts/exportform.h"

#include "host/host.h"

namespace tarnvisor {

namespace {

// A list has no keys to press.
std::vector<std::string> plain(std::initializer_list<const char*> labels) {
  std::vector<std::string> all;
  for (std::string label : labels) {
    std::erase(label, '&');
    all.push_back(std::move(label));
  }
  return all;
}

}  // namespace

bool askExport(CTextSettings& text, ExportChoice& choice, bool hasSelection) {
  int32_t binary = text.binary, headers = text.headers;
  int32_t part = hasSelection ? choice.selection : 0;
  Form form("Export");
  form.addChoice("Traces", choice.allTraces, {"Active trace", "All traces"});
  if (hasSelection) form.addChoice("Range", part, {"Whole", "Selection"});
  form.addCheck("&Binary", binary)
      .addCheck("&Headers", headers)
      .addChoice("&X values", text.xscaled, {"none", "scaled time", "sample index"})
      .addCheck("&Y values scaled", text.yscaled)
      .addCheck("&Z values scaled", text.zscaled)
      .addNote("Text delimiters")
      .addChoice("Column delimiter", text.coldelim,
                 plain({"&tab", "&comma", "&semicolon", "sp&ace", "&none"}))
      .addChoice("Row delimiter", text.rowdelim,
                 plain({"cr/lf &pair", "c&r only", "&lf only", "c&olumn delimiter", "&none"}))
      .addChoice("&Format", text.format, {"E", "f", "g"})
      .add("&Precision", text.precision, {0, CTextSettings::kMostDigits})
      .addCheck("S&wap bytes", text.swapbytes);
  if (!host().forms.run(form)) return false;
  text.binary = binary != 0;
  text.headers = headers != 0;
  choice.selection = part;
  return true;
}

}  // namespace tarnvisor
