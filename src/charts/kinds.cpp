#include "charts/kinds.h"

#include <algorithm>
#include <string_view>

#include "charts/commandids.h"
#include "charts/commonflodoc.h"
#include "charts/livechartdoc.h"
#include "charts/xychart.h"
#include "frame/menus.h"
#include "traces/traceimport.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

std::vector<Menu> chartMenus() {
  const MenuEntries ofFile{cmd::FileSave, cmd::FileSaveAs, K::Separator,         cmd::ExportTrace,
                           K::Separator,  cmd::FilePrint,  cmd::FilePrintPreview};
  return {
      fileMenu(ofFile),
      {"&Edit",
       {cmd::Undo, cmd::Redo, K::Separator, cmd::EditCopy, cmd::EditCut, cmd::EditPaste, cmd::DeleteFromTrace,
        K::Separator, cmd::InsertMarker, cmd::EditMarker, cmd::EditNewMarks, K::Separator, cmd::ClearTraces}},
      {"&View", zoomEntries() +
                    MenuEntries{cmd::ZoomValueIn, cmd::ZoomValueOut, cmd::SameScale, K::Separator,
                                cmd::ReduceFullScale, cmd::IncreaseFullScale, cmd::RaiseOffset,
                                cmd::LowerOffset, cmd::LinearIntensity, K::Separator, cmd::ChartColour,
                                cmd::InverseColours, cmd::MinimumToBackground, K::Separator} +
                    barEntries()},
      {"&Trace",
       {cmd::TraceProperties, cmd::HideTrace, cmd::ShowHiddenTraces, K::Separator, cmd::RunChart,
        cmd::StopChart, K::Separator, cmd::ChartResults, cmd::PsdProfile, cmd::XyChart, cmd::ImageFromTrace}},
      {"&Analysis",
       {cmd::SimpleSmoothing,
        cmd::FirFilter,
        cmd::ArtifactFilter,
        cmd::RemovePulse,
        K::Separator,
        cmd::Differentiate,
        cmd::PulsatilityIndex,
        cmd::ResistanceIndex,
        cmd::GoldenMaxima,
        cmd::PowerSpectrum,
        cmd::CalculateVelocity,
        K::Separator,
        {"&Rows of a spectrum",
         {cmd::SignalStrength, cmd::PowerContour, cmd::LevelContour, K::Separator, cmd::NormaliseToSelection,
          cmd::HalvePoints, cmd::CutPedestal, cmd::CutPsdArtifacts, cmd::DpsHistogram}},
        cmd::CutToAverage}},
      subjectMenu(),
      acquisitionMenu(),
      windowMenu(),
      helpMenu()};
}

const MenuEntries& spectrumEntries() {
  static const MenuEntries entries{
      cmd::CalculateCbv,  cmd::RecalculateShift, cmd::TrimSpectrum,    cmd::SwapUnits,    K::Separator,
      cmd::FindMoment,    cmd::FindMaximum,      cmd::FindPeak,        cmd::FindPercent,  cmd::FindAverage,
      cmd::FindAutomatic, K::Separator,          cmd::ThresholdWindow, cmd::CbvParameters};
  return entries;
}

DocumentFace chartFaceWith(std::vector<FileKind> files) {
  return {.tables = {&ZchartView::commandTable(), &ZchartDoc::commandTable()},
          .menus = chartMenus(),
          .popups = {{kChartPopup,
                      {cmd::EditCopy, cmd::EditCut, cmd::EditPaste, cmd::DeleteFromTrace, K::Separator,
                       cmd::InsertMarker, cmd::EditMarker, K::Separator, cmd::ZoomFit, cmd::ZoomIn,
                       cmd::ZoomOut, K::Separator, cmd::ChartResults, cmd::TraceProperties, cmd::HideTrace}}},
          .files = std::move(files),
          .helpPage = "chart"};
}

}  // namespace

DocumentFace dopplerFaceWith(const MenuEntries& before, std::vector<FileKind> files) {
  DocumentFace face = chartFaceWith(std::move(files));
  face.tables = {&ZcommonFLOView::commandTable(), &ZchartView::commandTable(), &ZchartDoc::commandTable()};
  const auto analysis = std::ranges::find_if(
      face.menus, [](const Menu& menu) { return std::string_view(menu.title) == "&Analysis"; });
  face.menus.insert(analysis + 1, Menu{"&Doppler", before + spectrumEntries()});
  return face;
}

namespace {

const DocumentFace& chartFace() {
  static const DocumentFace face = dopplerFaceWith({}, {{.ending = ".zz1",
                                                         .openWords = "Charts (*.zz1)",
                                                         .openPlace = 4,
                                                         .mimeType = "application/x-tarnvisor-chart",
                                                         .mimeComment = "Tarnvisor chart"}});
  return face;
}

const DocumentFace& profileFace() {
  static const DocumentFace face = chartFaceWith({});
  return face;
}

const DocumentFace& xyChartFace() {
  static const DocumentFace face{.tables = {&xychartvw::commandTable(), &xychartdoc::commandTable()},
                                 .menus = plainMenus({cmd::FileSave, cmd::FileSaveAs, K::Separator,
                                                      cmd::FilePrint, cmd::FilePrintPreview},
                                                     {cmd::Undo, cmd::Redo}),
                                 .files = {{.ending = ".zzxy",
                                            .openWords = "XY charts (*.zzxy)",
                                            .openPlace = 8,
                                            .mimeType = "application/x-tarnvisor-xychart",
                                            .mimeComment = "Tarnvisor chart of one trace against another"}},
                                 .helpPage = "xy-chart"};
  return face;
}

}  // namespace

DocumentRow chartKind() {
  return {DocumentRow::Gate::ImageOrVelocity,
          {10024, "\nChart\nChart\nChart files (*.zz1)\n.zz1\nZZ.chart\nZZ chart\n", "CReviewDoc", "CReView",
           kChildFrame, &makeDocument<CReviewDoc>, &makeView<CReviewDoc, CReView>, &isTraceFile, kTraceFilter,
           &chartFace},
          &ProcessState::reviewTemplate};
}

DocumentRow profileKind() {
  return {DocumentRow::Gate::ImageOrVelocity,
          {10015, "\nProfile\n\nGrey Level Profiles (*.zz1)\n.zz1\n", "ZliveChartDoc", "ZliveChartView",
           kChildFrame, &makeDocument<ZliveChartDoc>, &makeView<ZliveChartDoc, ZliveChartView>, nullptr, "",
           &profileFace},
          &ProcessState::profileTemplate};
}

DocumentRow xyChartKind() {
  return {DocumentRow::Gate::ImageOrVelocity,
          {10020, "\nXY Chart\nXYChart\nXY Chart files (*.zzxy)\n.zzxy\nZZ.chart\nZZ XY chart\n",
           "xychartdoc", "xychartvw", kChildFrame, &makeDocument<xychartdoc>,
           &makeView<xychartdoc, xychartvw>, nullptr, "", &xyChartFace},
          &ProcessState::xyChartTemplate};
}

}  // namespace tarnvisor
