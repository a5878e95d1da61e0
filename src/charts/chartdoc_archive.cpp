// The stored form of a chart. docs/formats/zz1.md tells it.
#include <filesystem>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "host/host.h"
#include "traces/traceimport.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kMagic = 0x5A5A;
constexpr uint16_t kVersion = 32;
constexpr uint16_t kSettingsVersion = 3;
constexpr uint16_t kMarkersVersion = 1;

}  // namespace

void ZchartDoc::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.putDword(kMagic);
    archive.putWord(kVersion);
    traces.serialize(archive);
    return serializeRest(archive);
  }
  // A chart from before the version was stored begins with its list.
  if (archive.getDword() == kMagic)
    archive.getWord();
  else
    archive.stepBack(sizeof kMagic);
  // What was read of a damaged file is worth having; with no trace read it is no chart.
  try {
    traces.serialize(archive);
    serializeRest(archive);
  } catch (const ArchiveException& problem) {
    if (traces.items.empty()) throw;
    tookOnlyAPart(problem.what());
  }
}

void ZchartDoc::serializeRest(Archive& archive) {
  if (archive.isStoring())
    archive.putDouble(clock);
  else
    clock = archive.getDouble();
  serializeSettings(archive);
  serializeOwn(archive);
  if (archive.isStoring())
    archive.putWord(kMarkersVersion);
  else if (archive.remaining() == 0)
    return;  // files without markers end here
  else
    archive.getWord();
  markers.serialize(archive);
}

void ZchartDoc::serializeSettings(Archive& archive) {
  if (archive.isStoring()) {
    archive.putWord(kSettingsVersion);
    for (const int32_t counter : counters) archive.putInt(counter);
    archive.putInt(lastTCradio);
    archive.putFloat(lastTC);
    archive.putInt(circular);
    archive.putInt(NoPtsToSample);
    archive.putDouble(tc);
    CdbDocument::serialize(archive);
    return;
  }
  const uint16_t version = archive.getWord();
  for (int32_t& counter : counters) counter = archive.getInt();
  lastTCradio = archive.getInt();
  lastTC = archive.getFloat();
  circular = archive.getInt();
  NoPtsToSample = archive.getInt();
  if (version >= 2) tc = archive.getDouble();
  if (version >= 3) CdbDocument::serialize(archive);
}

bool ZchartDoc::onOpenDocument(const std::string& path) {
  readSettings();
  const TraceBatch batch(*this);
  const bool opened = CdbDocument::onOpenDocument(path);
  tellLowMemory();
  if (!opened) return false;
  if (!whatIsMissing().empty())
    report(format("Only a part of %s could be read, %i traces: %s. It will not be written over.",
                  path.c_str(), static_cast<int>(traces.items.size()), whatIsMissing().c_str()));
  return true;
}

bool ZchartDoc::mayTake(const Imported& imported) {
  return imported.question.empty() ||
         host().messages.show(imported.question, Buttons::YesNo, Icon::Question) == Answer::Yes;
}

bool ZchartDoc::onImportFile(const std::string& path) {
  CTextSettings exchange;
  exchange.read();
  Imported imported = importTraces(path, exchange);
  if (!imported.failure.empty()) {
    report(imported.failure);
    return false;
  }
  if (!mayTake(imported) || !onNewDocument()) return false;
  if (!imported.shortage.empty())
    host().messages.show(path + "\n" + imported.shortage, Buttons::Ok, Icon::Warning);
  {
    const TraceBatch batch(*this);
    giveColours(imported.traces, 0);
    for (ZZTrace::Own& trace : imported.traces) addtrace(std::move(trace));
  }
  setTitle(withoutExtension(fileNameOf(path)));
  setModified();
  return true;
}

}  // namespace tarnvisor
