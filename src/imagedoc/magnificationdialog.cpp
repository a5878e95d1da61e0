#include "imagedoc/magnificationdialog.h"

#include "base/clock.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

MagnificationFace* MagnificationDialog::face = nullptr;

MagnificationDialog::MagnificationDialog(const ZBasicDoc& document)
    : entry{document.magx, document.magy, document.magname, document.magindex},
      // What is typed here is in this unit, also where the image has no scale yet.
      unit(document.userunits + text::kPerPixel + (document.calibrated ? "" : " (not calibrated)")),
      before(entry),
      tablePixels(document.standardPixels()) {
  refresh();
}

void MagnificationDialog::refresh() {
  lines.clear();
  MagnificationEntry row;
  for (int32_t i = 0; i < magnificationCount() && readMagnification(i, row); ++i)
    lines.push_back(magnificationLine(row));
}

std::string MagnificationDialog::defaultLine() const {
  MagnificationEntry standard;
  readDefaultMagnification(standard);
  return magnificationLine(standard);
}

MagnificationEntry MagnificationDialog::inTable() const {
  return {entry.magx * tablePixels, entry.magy * tablePixels, entry.magname, entry.magdate};
}

void MagnificationDialog::addToList() {
  entry.magdate = currentTime();
  addMagnification(inTable());
  refresh();
}

void MagnificationDialog::select(int32_t row) {
  MagnificationEntry chosen = inTable();
  if (!readMagnification(row, chosen)) return;
  entry = {chosen.magx / tablePixels, chosen.magy / tablePixels, chosen.magname, chosen.magdate};
  wasSelected = true;
}

bool MagnificationDialog::isGiven() const {
  return wasSelected || entry.magx != before.magx || entry.magy != before.magy;
}

void MagnificationDialog::remove(int32_t row) {
  removeMagnification(row);
  refresh();
}

void MagnificationDialog::setAsDefault(int32_t row) {
  MagnificationEntry chosen;
  if (readMagnification(row, chosen)) writeDefaultMagnification(chosen);
}

bool MagnificationDialog::run() { return face ? face->run(*this) : runForm(); }

bool MagnificationDialog::runForm() {
  int32_t action = 0;
  int32_t row = 0;
  Form form("Magnification");
  form.add("x scale", entry.magx, {1e-9, 1e9, "A scale must be above 0."});
  form.add("y scale", entry.magy, {1e-9, 1e9, "A scale must be above 0."});
  form.add("name", entry.magname);
  form.addChoice("action", action, {"none", "Add to list", "Select", "Remove", "Set as default"});
  form.add("row", row, {0, MAXMAGS, {}});
  if (!host().forms.run(form)) return false;
  if (action > 1 && (row < 0 || row >= magnificationCount())) {
    const char* const verbs[] = {"select", "remove", "set as default"};
    host().messages.show(format("The table of magnifications has no row %i to %s.", row, verbs[action - 2]),
                         Buttons::Ok, Icon::Warning);
    return false;
  }
  if (action == 1) addToList();
  if (action == 2) select(row);
  if (action == 3) remove(row);
  if (action == 4) setAsDefault(row);
  return true;
}

}  // namespace tarnvisor
