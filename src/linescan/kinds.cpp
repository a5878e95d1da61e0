#include "linescan/kinds.h"

#include <algorithm>
#include <string_view>

#include "charts/kinds.h"
#include "linescan/commandids.h"
#include "linescan/zlinescanview.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

constexpr const char* kResource =
    "\nLinescan\nLinescan\nLinescans (*.zzl)\n.zzl\nTarnvisor.linescan\nTarnvisorLinescan  Document";

MenuEntries velocityEntries() {
  return {cmd::CalculateVelocity,
          cmd::VelocityForm,
          cmd::VelocityResult,
          K::Separator,
          cmd::HoughVelocities,
          cmd::SlopeVelocities,
          cmd::DeleteSlopes,
          K::Separator,
          cmd::CbvVersusLimit,
          cmd::CbvVersusCorrelation,
          K::Separator,
          cmd::CbvUsingFft,
          cmd::CorrelateTwoTraces,
          K::Separator,
          cmd::SetAsLinescan,
          cmd::InterpolateRows,
          cmd::UseInterlace};
}

// A chart's, with a menu of its own behind that of analysis.
DocumentFace faceWith(std::vector<const CommandTableBase*> tables, const MenuEntries& velocity) {
  DocumentFace face = profileKind().classes.faceOf();
  face.tables = std::move(tables);
  face.files.clear();
  const auto analysis = std::find_if(face.menus.begin(), face.menus.end(), [](const Menu& menu) {
    return std::string_view(menu.title) == "&Analysis";
  });
  std::erase_if(analysis->entries, [](const MenuEntry& entry) { return entry.id == cmd::CalculateVelocity; });
  face.menus.insert(analysis + 1, Menu{"&Velocity", velocity});
  face.helpPage = "linescan";
  return face;
}

const DocumentFace& linescanFace() {
  static const DocumentFace face = [] {
    DocumentFace own =
        faceWith({&ZlineScanBaseView::commandTable(), &ZlineScanBaseDoc::commandTable()}, velocityEntries());
    own.files = {{.ending = ".zzl",
                  .openWords = "Linescans (*.zzl)",
                  .openPlace = 6,
                  .mimeType = "application/x-tarnvisor-linescan",
                  .mimeComment = "Tarnvisor linescan"}};
    return own;
  }();
  return face;
}

const DocumentFace& liveFace() {
  static const DocumentFace face = faceWith(
      {&ZlineScanBaseView::commandTable(), &ZlineScanDoc::commandTable()},
      velocityEntries() + MenuEntries{K::Separator, cmd::CalculatesCbv, cmd::SubtractScans, cmd::SampleRate});
  return face;
}

}  // namespace

DocumentRow linescanKind() {
  return {DocumentRow::Gate::Dynamic,
          {10016, kResource, "ZlineScanBaseDoc", "ZlineScanBaseView", kChildFrame,
           &makeDocument<ZlineScanBaseDoc>, &makeView<ZlineScanBaseDoc, ZlineScanBaseView>, nullptr, "",
           &linescanFace},
          nullptr};
}

// Opened only through its kept reference: it never competes for a file with the kind above.
DocumentRow liveLinescanKind() {
  return {DocumentRow::Gate::Dynamic,
          {10016, kResource, "ZlineScanDoc", "ZlineScanView", kChildFrame, &makeDocument<ZlineScanDoc>,
           &makeView<ZlineScanDoc, ZlineScanView>, nullptr, "", &liveFace},
          &ProcessState::linescanTemplate,
          false};
}

}  // namespace tarnvisor
