// Settings of the velocity input.
#include <algorithm>
#include <cmath>

#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "doppler/commandids.h"
#include "doppler/dopplerinput.h"
#include "doppler/flo1doc.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

// One of the three buffers, as the form shows it and as it is.
struct Cflo1Doc::Buffer {
  const char* trace;
  const char* words;
  int32_t Cflo1Doc::*enabled;
  int32_t Cflo1Doc::*points;
  double bytesPerPoint = 0;
  int32_t on = 0, hours = 0, minutes = 0, seconds = 0;
  std::string memory = {};
  int64_t shownDuration = 0;  // whole seconds of what may have a part of one more
  double shownRate = 0;
  int64_t shownPoints = 0;

  int64_t duration() const { return (int64_t{hours} * 60 + minutes) * 60 + seconds; }
  int64_t pointsAt(double rate) const {
    if (rate == shownRate && duration() == shownDuration) return shownPoints;
    return std::max<int64_t>(1, std::llround(static_cast<double>(duration()) * rate));
  }
};

namespace {

constexpr const char* kFloCalcs = "FLOcalcs";
constexpr const char* kHardware = "flo1";
constexpr int64_t kMostPoints = 10'000'000;
constexpr double kMegabyte = 1048576.0;

}  // namespace

void Cflo1Doc::inputSettings() {
  double rate = SlowSampleRate;
  int32_t size = fftpoints == 64 ? 0 : 1, mode = stopMode;
  std::vector<Buffer> buffers{
      {"CBV", "CBV Input Buffer", &Cflo1Doc::floenabled, &Cflo1Doc::flonpts},
      {"Doppler spectrum", "Doppler Spectrum Input Buffer", &Cflo1Doc::dopenabled, &Cflo1Doc::dopnpts},
      {"raw", "Raw data input buffer", &Cflo1Doc::rawenabled, &Cflo1Doc::rawnpts}};
  Form form("Input settings");
  form.add("&Recorded Data Rate", rate, {0.01, 1000}).withUnit("Hz");
  const auto tell = [&] {
    const int32_t fft = size == 0 ? 64 : 256;
    const double bytes[] = {2.0, 2.0 * fft, 4.0 * fft};
    for (size_t i = 0; i < buffers.size(); ++i)
      buffers[i].memory =
          format("%.1f MB", static_cast<double>(buffers[i].pointsAt(rate)) * bytes[i] / kMegabyte);
  };
  for (Buffer& each : buffers) {
    const auto seconds = static_cast<int64_t>(std::llround(this->*each.points / SlowSampleRate));
    each.on = this->*each.enabled;
    each.hours = static_cast<int32_t>(seconds / 3600);
    each.minutes = static_cast<int32_t>(seconds / 60 % 60);
    each.seconds = static_cast<int32_t>(seconds % 60);
    each.shownDuration = each.duration();
    each.shownRate = SlowSampleRate;
    each.shownPoints = this->*each.points;
    const std::string name = each.words;
    form.addCheck(name, each.on);
    form.add(name + ": hours", each.hours, {0, 99});
    form.add(name + ": minutes", each.minutes, {0, 59});
    form.add(name + ": seconds", each.seconds, {0, 59});
    form.addReading(name + ": memory required", each.memory);
  }
  form.addChoice("FFT size", size, {"64 points", "256 points"});
  form.addChoice("Stop", mode,
                 {"Use circular buffer", "Stop on CBV buffer full", "Stop on Doppler buffer full",
                  "Stop on RAW buffer full"});
  form.setOnChange(tell);
  tell();
  if (!asked(form)) return;
  if (rate > fastestRate())
    return report(
        format("The input gives %.1f blocks a second, each of which is stored at most %.0f times: a rate of "
               "%g is too high.",
               blockRate, fastestRate() / blockRate, rate));
  for (const Buffer& each : buffers)
    if (each.on && each.pointsAt(rate) > kMostPoints)
      return report(
          format("The %s would take more than %i points.", each.words, static_cast<int>(kMostPoints)));
  changeInput(rate, size == 0 ? 64 : 256, buffers, mode);
}

// In the order Doppler, CBV, raw. What changes a trace asks first about what it holds, once.
void Cflo1Doc::changeInput(double rate, uint16_t fft, const std::vector<Buffer>& wanted, int32_t mode) {
  const bool otherRate = rate != SlowSampleRate, otherSize = fft != fftpoints;
  const auto isChanged = [&](const Buffer& each) {
    const bool isThere = findtrace(each.trace) != nullptr;
    if (!each.on) return isThere;
    const bool rowsChange = otherSize && std::string_view(each.trace) != "CBV";
    return !isThere || otherRate || rowsChange || each.pointsAt(rate) != this->*each.points;
  };
  if (std::ranges::any_of(wanted, isChanged) && !saveModified()) return;
  std::vector<const Buffer*> changed;
  for (const size_t i : {1, 0, 2})
    if (isChanged(wanted[i])) changed.push_back(&wanted[i]);
  if (!changed.empty() || otherRate) {
    if (running) stopSource();
    sampleCount = 0;
    // A trace beside one that began anew would be of another time.
    for (const size_t i : {1, 0, 2})
      if (wanted[i].on && !isChanged(wanted[i])) changed.push_back(&wanted[i]);
    makeNew();
  }
  {
    const TraceBatch batch(*this);
    SlowSampleRate = rate;
    fftpoints = fft;
    for (const Buffer* each : changed) {
      if (ZZTrace* trace = findtrace(each->trace)) deletetrace(*trace, false);
      this->*each->enabled = each->on;
      if (!each->on) continue;
      const auto points = static_cast<uint32_t>(each->pointsAt(rate));
      this->*each->points = static_cast<int32_t>(points);
      if (each == &wanted[0]) makeCbvTrace(points, 1 / rate);
      if (each == &wanted[1]) makeSpectrumTrace(points, 1 / rate);
      if (each == &wanted[2]) makeRawTrace(points, 1 / rate);
    }
    for (size_t channel = 0; !changed.empty() && channel < kAuxiliaryChannels; ++channel)
      if (ZZTrace* trace = findtrace(auxiliaryName(channel))) deletetrace(*trace, false);
    if (!changed.empty()) recorded = 0;
    makeAuxiliaryTraces();
    alignEnds();
  }
  stopMode = mode;
  const int32_t point = stopPoint();
  if (point == 0) stopMode = kCircular;
  if (point > 0) stopPointCount = point;
  saveSettings();
  updateAllViews();
}

// The size of the buffer that ends a recording; 0 where there is none.
int32_t Cflo1Doc::stopPoint() {
  const char* const names[] = {"", "CBV", "Doppler spectrum", "raw"};
  const int32_t points[] = {0, flonpts, dopnpts, rawnpts};
  return findtrace(names[stopMode]) ? points[stopMode] : 0;
}

void Cflo1Doc::auxiliarySettings() {
  int32_t channels = settings.getInt(kFloCalcs, "numberofchannels", 1);
  Form form("Auxillary Input settings");
  form.add("number of channels", channels, {0, static_cast<double>(kAuxiliaryChannels)});
  form.addNote("They come over the serial line of \"Hardware settings\".");
  if (!asked(form)) return;
  std::vector<ZZTrace*> dropped;  // their recordings go
  for (const ZZTrace::Own& trace : traces.items)
    if (int32_t number = 0; std::sscanf(trace->name.c_str(), "IP%d", &number) == 1 && number > channels)
      dropped.push_back(trace.get());
  if (!dropped.empty() && !saveModified()) return;
  settings.setInt(kFloCalcs, "numberofchannels", channels);
  if (DopplerInput* input = dopplerInput()) input->auxiliaryChannels = channels;
  for (ZZTrace* trace : dropped) deletetrace(*trace);
  makeAuxiliaryTraces();
}

void Cflo1Doc::inputChannel() {
  int32_t channel = ipchannel + 1;
  double gain = inputGain;
  Form form("Input channel");
  form.add("channel of the sound input", channel, {1, 64});
  form.add("factor for its samples", gain, {0.0001, 10000});
  if (!asked(form)) return;
  const bool goesOn = running;
  if (goesOn && channel != ipchannel + 1) stopSource();
  ipchannel = static_cast<uint16_t>(channel - 1);
  inputGain = gain;
  overRangeBlocks = 0;
  saveSettings();
  if (goesOn) runSource();
}

void Cflo1Doc::changeBandwidth(int32_t by) {
  Bandwidthi = std::clamp(Bandwidthi + by, 0, kNarrowest);
  applyBandwidth();
  saveSettings();
  updateAllViews();
}

// What the instrument takes for it is a matter of this computer's settings.
void Cflo1Doc::toggleLaser() {
  const DopplerInput* input = dopplerInput();
  const std::string command = hwSettings.getString(kHardware, laserOn ? "laserOff" : "laserOn", "");
  if (!input || !input->auxiliary) return report("No instrument is connected whose laser could be switched.");
  if (command.empty())
    return report(
        "The instrument's command for its laser is not known: it is missing in the settings of this computer.");
  if (const Outcome sent = input->auxiliary->send(command + "\r"); !sent) return report(sent.why());
  laserOn = !laserOn;
  updateAllViews();
}

void Cflo1Doc::cuffWindow() {
  if (showsCuff()) return cuffForm.reset();
  const auto tell = [this](const Outcome& done, const char* is) { cuffState = done ? is : done.why(); };
  cuffState = "ready";
  Form form("CUFF");
  form.add("Set Pressure mmHg", cuffSettings.pressure, {0, 300});
  form.add("Cuff Duration (secs)", cuffSettings.duration, {0, 3600});
  form.add("Holding pressure", cuffSettings.holding, {0, 300}).withUnit("mmHg");
  form.add("Hysteresis", cuffSettings.hysteresis, {0, 100}).withUnit("mmHg");
  form.addCheck("postprocessing", cuffSettings.postprocessing);
  form.addReading("state", cuffState);
  cuffForm = host().forms.show(
      std::move(form),
      {.buttons = {{"START", [this, tell] { tell(cuff->start(cuffSettings), "started"); }, true},
                   {"ABORT", [this, tell] { tell(cuff->abort(), "aborted"); }, false}}});
}

const CommandTableBase& Cflo1Doc::commandTable() {
  using D = Cflo1Doc;
  static const CommandTable<D> table{
      {{cmd::InputSettings,
        "Input &Settings...",
        &D::inputSettings,
        {.tip = "Adjust acquistion settings",
         .status = "Sets the rate and the length of what is recorded, and what ends a recording."}},
       {cmd::IncreaseBandwidth,
        "&Increase Bandwidth",
        &D::increaseBandwidth,
        &D::canIncrease,
        {.tip = "Increase bandwidth",
         .status = "Doubles the highest frequency of the spectra.",
         .keys = "F2",
         .whyOff = "The bandwidth is at its greatest."}},
       {cmd::DecreaseBandwidth,
        "&Decrease Bandwidth",
        &D::decreaseBandwidth,
        &D::canDecrease,
        {.tip = "Decrease bandwidth",
         .status = "Halves the highest frequency of the spectra.",
         .keys = "Shift+F2",
         .whyOff = "The bandwidth is at its least."}},
       {cmd::Laser,
        "&Laser",
        &D::toggleLaser,
        nullptr,
        &D::isLaserOn,
        {.tip = "Laser", .status = "Switches the instrument's laser on and off.", .keys = "F9"}},
       {cmd::InputChannel,
        "&Input channel...",
        &D::inputChannel,
        {.tip = "Input channel",
         .status = "Sets which channel of the sound input is taken, and its factor."}},
       {cmd::AuxiliarySettings,
        "Auxillary Input settings...",
        &D::auxiliarySettings,
        {.tip = "Auxiliary input",
         .status = "Sets how many values come beside the sound.",
         .shown = "Auxiliary input settings..."}},
       {cmd::Cuff,
        "C&UFF...",
        &D::cuffWindow,
        nullptr,
        &D::showsCuff,
        {.tip = "Pressure cuff", .status = "Shows the window of the pressure cuff, which stays open."}}},
      &ZchartDoc::commandTable()};
  return table;
}

}  // namespace tarnvisor
