#include "assembly/assembly.h"

#include "charts/commonflodoc.h"
#include "charts/livechartdoc.h"
#include "charts/marker.h"
#include "charts/xychart.h"
#include "dynamic/vivocapview.h"
#include "image/stillimport.h"
#include "imagedoc/dimdoc.h"
#include "imagedoc/zbasicdoc.h"
#include "imagedoc/zbasicview.h"
#include "measure/dimlist.h"
#include "results/resultview.h"
#include "traces/traceimport.h"

namespace tarnvisor {

namespace {

template <class Document>
std::unique_ptr<CDocument> makeDocument() {
  return std::make_unique<Document>();
}

template <class Document, class View>
std::unique_ptr<CView> makeView(CDocument& document) {
  return std::make_unique<View>(static_cast<Document&>(document));
}

constexpr const char* kChildFrame = "CMDIChildWnd";

}  // namespace

std::span<const DocumentRow> documentTable() {
  using G = DocumentRow::Gate;
  using P = ProcessState;
  // Rows without makers stand for kinds of document that this version doesn't open.
  static const DocumentRow rows[] = {
      {G::Image,
       {10002, "\nImage\nImage\nImages (*.tv1)\n.tv1\nTarnvisor.Image\nTarnvisor Document", "ZBasicDoc",
        "ZBasicView", kChildFrame, &makeDocument<ZBasicDoc>, &makeView<ZBasicDoc, ZBasicView>, &isStillFile,
        kStillFilter},
       &P::imageTemplate},
      {G::Live,
       {10005, "\nVideo\n\nFrozen Video (*.tv1)\n.tv1\n\n", "ZBasicfgDoc", "ZBasicfgView", kChildFrame},
       &P::liveTemplate},
      {G::Image,
       {10021, "\nVideo\nVideo\nVideos (*.dtv)\n.dtv\nTarnvisor.Video\nTarnvisor Video Document",
        "CVivoCapDoc", "CVivoCapView", kChildFrame, &makeDocument<CVivoCapDoc>,
        &makeView<CVivoCapDoc, CVivoCapView>, &isMovieFile, kMovieFilter},
       &P::videoTemplate},
      {G::Image,
       {10021, "\nVideo\nVideo\nVideos (*.dtv)\n.dtv\nTarnvisor.Video\nTarnvisor Video Document", "ZZcytoDoc",
        "ZZcytoView", kChildFrame},
       &P::cytoTemplate},
      {G::ImageOrVelocity,
       {10024, "\nChart\nChart\nChart files (*.zz1)\n.zz1\nZZ.chart\nZZ chart\n", "CReviewDoc", "CReView",
        kChildFrame, &makeDocument<CReviewDoc>, &makeView<CReviewDoc, CReView>, &isTraceFile, kTraceFilter},
       &P::reviewTemplate},
      {G::ImageOrVelocity,
       {10015, "\nProfile\n\nGrey Level Profiles (*.zz1)\n.zz1\n", "ZliveChartDoc", "ZliveChartView",
        kChildFrame, &makeDocument<ZliveChartDoc>, &makeView<ZliveChartDoc, ZliveChartView>},
       &P::profileTemplate},
      {G::ImageOrVelocity,
       {10023, "\nResults\n\nResults (*.rst)\n.rst\nZZ.results\nZZ Results\n", "CResultDoc", "CResultView",
        "CMDIResultsChildWnd", &makeDocument<CResultDoc>, &makeView<CResultDoc, CResultView>},
       &P::resultTemplate},
      {G::ImageOrVelocity,
       {10020, "\nXY Chart\nXYChart\nXY Chart files (*.zzxy)\n.zzxy\nZZ.chart\nZZ XY chart\n", "xychartdoc",
        "xychartvw", kChildFrame, &makeDocument<xychartdoc>, &makeView<xychartdoc, xychartvw>},
       &P::xyChartTemplate},
      {G::Image,
       {10009, "\nDimension List\n\ncsv files (*.csv)\n.csv\n", "ZDimDoc", "ZDimView", kChildFrame,
        &makeDocument<ZDimDoc>, &makeView<ZDimDoc, ZDimView>},
       &P::dimTemplate},
      {G::Velocity,
       {10003, "\nFLO Input\n\nCharts (*.zz1)\n.zz1\n\n\n", "Cflo1Doc", "Cflo1View", kChildFrame},
       &P::flo1Template},
      {G::Dynamic,
       {10016,
        "\nLinescan\nLinescan\nLinescans (*.zzl)\n.zzl\nTarnvisor.linescan\nTarnvisorLinescan  Document",
        "ZlineScanBaseDoc", "ZlineScanBaseView", kChildFrame}},
      // Opened only through its kept reference: it never competes for a file with the row above.
      {G::Dynamic,
       {10016,
        "\nLinescan\nLinescan\nLinescans (*.zzl)\n.zzl\nTarnvisor.linescan\nTarnvisorLinescan  Document",
        "ZlineScanDoc", "ZlineScanView", kChildFrame},
       &P::linescanTemplate,
       false},
      {G::Dynamic,
       {10013, "\nFCF\nFCF\nFCF images (*.zzfcf)\n.zzfcf\nTarnvisor.FCF\nTarnvisor FCF  Document", "fcfdoc",
        "fcfview", kChildFrame},
       &P::fcfTemplate},
      {G::Dynamic,
       {10001, "\nAVI Video\n\nAVI videos (*.avi)\n.avi\n\n\n", "CVivoCapDoc", "CVivoCapView", kChildFrame,
        &makeDocument<CVivoCapDoc>, &makeView<CVivoCapDoc, CVivoCapView>}},
  };
  return rows;
}

void registerStoredClasses() {
  registerDimensionClasses();
  registerMarkers();
  registerResultClasses();
  registerDataVectors();
  registerTraces();
}

}  // namespace tarnvisor
