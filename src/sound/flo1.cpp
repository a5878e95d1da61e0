#include "sound/flo1.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/clock.h"
#include "base/text.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kHighRate = 96000, kLowRate = 48000;
constexpr double kLongestSilence = 3.0;  // seconds without a block
constexpr int64_t kBlocksForRate = 48;
constexpr double kRateTolerance = 0.1;

}  // namespace

bool FLO1::init() {
  logPrintf("FLO1::init() [SC]\n");
  logPrintf("Cflo1::initIO\n");
  initialised = openaudio();
  setsamplerate(kHighRate);
  setbandwidth(100.0);
  return initialised;
}

bool FLO1::openAt(uint32_t rate) {
  logPrintf("openaudio rate=%i\n", static_cast<int>(rate));
  const Outcome opened = waveinhandle->open(rate, channel);
  deviceRate = rate;
  if (!opened) {
    logPrintf(rate == kHighRate ? "96kwaveInOpen error=%i!\n" : "48kwaveInOpen error=%i!\n",
              static_cast<int>(waveinhandle->error()));
    why = opened.why();
  }
  return static_cast<bool>(opened);
}

bool FLO1::openaudio() {
  why.clear();
  waveinhandle = opener(why);
  ok = waveinhandle && (openAt(kHighRate) || openAt(kLowRate));
  if (!ok) waveinhandle.reset();
  okcopy = ok;
  if (ok) why.clear();
  return ok;
}

double FLO1::setsamplerate(double rate) {
  wantedRate = rate;
  skip = 1;
  if (rate < deviceRate - 1.0) skip = 2;
  if (rate < deviceRate / 2.0 - 1) skip = 4;
  if (rate < deviceRate / 4.0 - 1) skip = 8;
  samplerate = static_cast<double>(deviceRate) / skip;
  logPrintf("setsamplerate(%f)->%f skip=%i\n", rate, samplerate, skip);
  return samplerate;
}

void FLO1::setbandwidth(double) { blockrate = deviceRate / static_cast<double>(SoundBlock::kSamples); }

void FLO1::reset() {
  queue.begin();
  for (Buffer& buffer : buffers) buffer.isGiven = buffer.isDone = false;
  current = filling = 0;
  out = in = 0;
  number = -1;
  firstBlock.reset();
  lostWords.clear();
}

bool FLO1::start() {
  if (running) return true;
  if (!waveinhandle) {
    if (!initialised || !openaudio()) return false;
    setsamplerate(wantedRate);  // at the rate that it has now
    setbandwidth(100.0);
  }
  reset();
  for (size_t i = 0; i < kBuffers; ++i) addbuffer(i);
  lastNews = steadySeconds();
  const Outcome started = waveinhandle->start(queue);
  why = started.why();
  running = static_cast<bool>(started);
  if (running) return true;
  logPrintf("flo1::start %s\n", why.c_str());
  closeaudio();  // one that is plugged in again is another
  return false;
}

void FLO1::addbuffer(size_t index) {
  if (!waveinhandle || index >= kBuffers) return;
  buffers[index].isGiven = true;
  buffers[index].isDone = false;
  ++out;
}

// An input that was changed under the program's feet goes on, at a rate that makes all frequencies wrong.
void FLO1::watchRate(const SoundBlock& block) {
  if (!waveinhandle->keepsTime()) return;
  if (!firstBlock) firstBlock = block;
  const int64_t blocks = block.number - firstBlock->number;
  if (blocks < kBlocksForRate || !lostWords.empty()) return;
  const double seconds = block.seconds - firstBlock->seconds;
  const double rate = static_cast<double>(blocks) * SoundBlock::kSamples / std::max(seconds, 1e-3);
  if (std::abs(rate / deviceRate - 1) > kRateTolerance)
    lostWords =
        format("The velocity input gives %.0f samples a second where it was set to %u.", rate, deviceRate);
  firstBlock = block;
}

void FLO1::poll() {
  while (buffers[filling].isGiven && !buffers[filling].isDone && queue.pop(buffers[filling].block)) {
    buffers[filling].isDone = true;
    ++in;
    lastNews = steadySeconds();
    watchRate(buffers[filling].block);
    filling = (filling + 1) % kBuffers;
  }
}

bool FLO1::blockready() {
  if (!waveinhandle || !running) return false;
  poll();
  return buffers[current].isDone;
}

bool FLO1::getalldata(std::span<int16_t, kSamplesTaken> samples) {
  if (!blockready()) return false;
  const SoundBlock& block = buffers[current].block;
  const auto step = static_cast<size_t>(skip) * 2;
  for (size_t i = 0; i < kSamplesTaken; ++i) samples[i] = block.samples[i * step];
  number = block.number;
  addbuffer(current);
  current = (current + 1) % kBuffers;
  return true;
}

std::optional<std::string> FLO1::takeLost() {
  if (!running || blockready()) return std::nullopt;  // what came before the end is not lost with it
  if (auto words = queue.takeLost()) return words;
  if (!lostWords.empty()) return std::exchange(lostWords, {});
  if (waveinhandle->keepsTime() && steadySeconds() - lastNews > kLongestSilence)
    return "The velocity input gives no samples any more.";
  return std::nullopt;
}

void FLO1::stop() {
  if (!waveinhandle) return;
  logPrintf("flo1::stop out=%i in=%i\n", static_cast<int>(out), static_cast<int>(in));
  closeaudio();
}

void FLO1::closeaudio() {
  if (waveinhandle) waveinhandle->stop();
  waveinhandle.reset();
  running = ok = okcopy = false;
}

}  // namespace tarnvisor
