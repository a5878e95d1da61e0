#include "charts/markereditor.h"

#include <algorithm>

#include "host/host.h"

namespace tarnvisor {

namespace {
constexpr int32_t kMost = UINT16_MAX;
uint16_t clipped(int32_t v) { return static_cast<uint16_t>(std::clamp(v, 0, kMost)); }
}  // namespace

MarkerEditor& MarkerEditor::shared() {
  static MarkerEditor editor;
  return editor;
}

void MarkerEditor::open(CMarker& marker) {
  shown = &marker;
  takeFields();
  openWindow();
}

void MarkerEditor::close() {
  shown = nullptr;
  onUpdate = nullptr;  // of a chart that may be gone
  closeWindow();
}

// A new one, in front, for each marker: what was typed for the one before is dropped.
void MarkerEditor::openWindow() {
  closeWindow();
  window = host().forms.show(form(), {.onClose = [this] { close(); },
                                      .buttons = {{"Update", [this] { update(); }, true}},
                                      .closeLabel = "Cancel",
                                      .place = place});
}

void MarkerEditor::closeWindow() {
  if (window) place = window->place();
  window.reset();
}

void MarkerEditor::takeFields() {
  text = shown->text;
  label = shown->label;
  width = shown->boxwidth;
  height = shown->boxheight;
  pole = shown->pole;
}

void MarkerEditor::update() {
  if (!shown) return;
  if (onUpdate)
    onUpdate([this] { giveFields(); });
  else
    giveFields();
}

void MarkerEditor::giveFields() {
  const bool newWidth = width != shown->boxwidth;
  if (label != shown->label) shown->SetLabel(label);
  if (newWidth) shown->boxwidth = clipped(width);
  shown->text = text;
  shown->boxheight = clipped(height);
  shown->pole = clipped(pole);
  takeFields();
}

Form MarkerEditor::form() {
  const Limits sixteenBits{0, kMost};
  Form fields(kTitle);
  fields.addLongText("text", text)
      .add("label", label)
      .add("width", width, sixteenBits)
      .add("height", height, sixteenBits)
      .add("pole", pole, sixteenBits);
  return fields;
}

void MarkerEditor::markerGone(const CMarker& marker) {
  if (&marker == shown) close();
}

}  // namespace tarnvisor
