// ZchartDoc: the document of sampled signals, an ordered list of traces with markers, saved as .zz1
// (docs/formats/zz1.md). Every document of signals derives from it.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "charts/markerlist.h"
#include "exams/dbdocument.h"
#include "framework/history.h"
#include "traces/trace.h"

namespace tarnvisor {

struct Imported;

class ZchartDoc : public CdbDocument {
 public:
  ZchartDoc();
  ~ZchartDoc() override;
  // A time axis that fits traces of any unit; else values along x. Of the views.
  virtual bool hasSource() const { return false; }  // something that Run starts
  virtual void runSource() {}
  virtual void stopSource() {}

  // --- traces. A pointer to a trace is good until the trace is deleted; views drop theirs when told.
  // By a code of a one-dimensional vector (TypeCode), with `size` samples. Null without memory, after the
  // user was told, or for another code.
  ZZTrace* addtrace(int32_t typecode, uint32_t size);
  C2DTrace* addtrace(int32_t typecode, uint32_t size, uint16_t width);
  ZZTrace* addtrace(ZZTrace::Own trace);  // null for one without data
  // The traces of another program's file, which tells no colours, told apart by theirs.
  // Asks what is doubtful about traces that were read.
  [[nodiscard]] static bool mayTake(const Imported& imported);
  static void giveColours(std::vector<ZZTrace::Own>& imported, size_t before);
  // Views let go of it first. With notify they are told afterwards. Nothing before can be undone any more: a
  // command deletes by a Change.
  void deletetrace(ZZTrace& trace, bool notify = true);
  // Puts another in the place of one, views and all.
  void replacetrace(ZZTrace& trace, ZZTrace::Own by);
  ZZTrace* firsttrace() const { return traces.items.empty() ? nullptr : traces.items.front().get(); }
  ZZTrace* findtrace(const std::string& name) const { return traces.find(name); }
  int32_t indexOfTrace(const ZZTrace* trace) const;  // -1 for none of this document's
  // The origin of all traces; who writes the samples keeps the clock.
  void ringadvance(int64_t steps = 1);
  void setNoPtsToSample(int32_t points);
  void tellLowMemory();  // where traces noted that it ran out
  void tracesChanged();  // tells the views unless updatecount is 0

  // --- undo: a command says beforehand what it will change
  class Change;
  // As one change: adds, removes or alters markers.
  void changeMarkers(const std::function<void()>& work);
  void undo();
  void redo();
  void forgetUndo() { history.clear(); }
  bool canUndo() const { return history.canUndo(); }
  bool canRedo() const { return history.canRedo(); }

  bool onNewDocument() override;
  bool onOpenDocument(const std::string& path) override;
  bool onImportFile(const std::string& path) override;
  void deleteContents() override;
  void serialize(Archive& archive) override;
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  virtual void readSettings();
  virtual void saveSettings() const;

  CTraceArray traces;
  // What stands at the axes in place of the unit, and at traces without a name. Not stored.
  struct AxisTitles {
    std::string along, up;
  } titles;
  double clock = 0.0;  // the current running time, in seconds
  CMarkerList markers;
  int32_t lastTCradio = 0;  // the last choice of a time constant
  float lastTC = 1.0F;
  double tc = 3.0;
  int32_t circular = 0;  // of new traces
  int32_t NoPtsToSample = 500;
  int32_t running = 0;
  // 0 holds off notices to the views while traces are being made; see TraceBatch.
  int32_t updatecount = 1;

 protected:
  // The settings, the base document's facts and the markers, after the traces. A kind with fields of its own
  // stores them in serializeOwn, which stands between.
  void serializeSettings(Archive& archive);
  virtual void serializeOwn(Archive&) {}

 private:
  // One change, or what takes it back: a trace in place of the one at the index, one put in there, the one
  // there taken out, or what a kind has beside its traces exchanged.
  struct Step {
    enum class Kind { Replace, Insert, Remove, Exchange } kind;
    size_t index;
    ZZTrace::Own trace;                // null for Remove
    std::function<void()> exchange{};  // of Exchange: done twice, it changes nothing
  };
  using Steps = std::vector<Step>;
  void serializeRest(Archive& archive);  // what follows the list
  Steps perform(Steps steps);
  History<Steps> history;
  std::array<int32_t, 2> counters{};  // of the instrument's programs, kept as the file brought them
};

// Notices to the views wait until the batch is through.
class TraceBatch {
 public:
  explicit TraceBatch(ZchartDoc& document) : doc(document), before(document.updatecount) {
    doc.updatecount = 0;
  }
  ~TraceBatch() {
    doc.updatecount = before;
    doc.tracesChanged();
  }
  TraceBatch(const TraceBatch&) = delete;
  TraceBatch& operator=(const TraceBatch&) = delete;

 private:
  ZchartDoc& doc;
  int32_t before;
};

// What one command does to the traces, so that Undo can take it back. Made before the change; it takes effect
// when it goes.
class ZchartDoc::Change {
 public:
  explicit Change(ZchartDoc& document) : doc(document), batch(document) {}
  ~Change();
  // A copy of a trace whose samples or properties are about to change. False without memory: the user has
  // been told, and the change should not be made.
  bool altering(ZZTrace& trace);
  void added(const ZZTrace& trace);
  // Takes the trace out of the document.
  void remove(ZZTrace& trace);
  ZZTrace* add(ZZTrace::Own trace);  // null for one without data
  void replace(ZZTrace& trace, ZZTrace::Own by);
  // Clones of the markers, from before something was done to them.
  void changedMarkers(CMarkerList::Items before);
  // Exchanges a kind's own value for another, which Undo exchanges again.
  template <class Value>
  void exchange(Value& own, Value fresh) {
    auto kept = std::make_shared<Value>(std::move(fresh));
    exchange([&own, kept] { std::swap(own, *kept); });
  }

 private:
  void exchange(std::function<void()> twoValues);
  ZchartDoc& doc;
  std::vector<Step> steps;
  TraceBatch batch;
};

}  // namespace tarnvisor
