#include "doppler/kinds.h"

#include "charts/kinds.h"
#include "doppler/commandids.h"
#include "doppler/flo1view.h"
#include "frame/commandids.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

const DocumentFace& flo1Face() {
  static const DocumentFace face = [] {
    DocumentFace own = dopplerFaceWith(
        {cmd::Laser, K::Separator, cmd::IncreaseBandwidth, cmd::DecreaseBandwidth, K::Separator,
         cmd::InputSettings, cmd::InputChannel, cmd::AuxiliarySettings, cmd::Cuff, K::Separator},
        {});
    own.tables.push_back(&Cflo1Doc::commandTable());
    own.icon = "velocity";
    own.helpPage = "doppler";
    return own;
  }();
  return face;
}

}  // namespace

DocumentRow flo1Kind() {
  return {DocumentRow::Gate::Velocity,
          {10003, "\nFLO Input\n\nCharts (*.zz1)\n.zz1\n\n\n", "Cflo1Doc", "Cflo1View", kChildFrame,
           &makeDocument<Cflo1Doc>, &makeView<Cflo1Doc, Cflo1View>, nullptr, "", &flo1Face},
          &ProcessState::flo1Template};
}

}  // namespace tarnvisor
