#include "portaudiosound.h"

#include <fcntl.h>
#include <portaudio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>

#include "base/clock.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

// The systems below tell standard error what they look for and don't find.
class QuietErrors {
 public:
  QuietErrors() : kept(::dup(STDERR_FILENO)) {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept >= 0 && nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0) ::close(nowhere);
  }
  ~QuietErrors() {
    if (kept < 0) return;
    ::dup2(kept, STDERR_FILENO);
    ::close(kept);
  }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  int kept;
};

// PortAudio, as long as this lives; the library counts.
class Session {
 public:
  Session() {
    const QuietErrors quiet;
    ok = Pa_Initialize() == paNoError;
  }
  ~Session() {
    if (ok) Pa_Terminate();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  bool ok = false;
};

std::string idOf(const PaDeviceInfo& device) {
  const PaHostApiInfo* system = Pa_GetHostApiInfo(device.hostApi);
  return std::string(system ? system->name : "") + ": " + device.name;
}

PaDeviceIndex deviceOf(const std::string& id) {
  if (id.empty()) return Pa_GetDefaultInputDevice();
  for (PaDeviceIndex i = 0; i < Pa_GetDeviceCount(); ++i)
    if (const PaDeviceInfo* device = Pa_GetDeviceInfo(i); device && idOf(*device) == id) return i;
  return paNoDevice;
}

class PortAudioSound final : public SoundDriver {
 public:
  explicit PortAudioSound(std::string wanted) : id(std::move(wanted)) {}
  ~PortAudioSound() override { close(); }

  Outcome open(uint32_t rate, int32_t channel) override {
    close();
    taken = channel;
    PaStreamParameters wanted{};
    wanted.device = session.ok ? deviceOf(id) : paNoDevice;
    wanted.channelCount = channel + 1;
    wanted.sampleFormat = paInt16;
    failed = wanted.device == paNoDevice ? paInvalidDevice : paNoError;
    if (failed != paNoError)
      return Outcome::failure(id.empty() ? "There is no sound input."
                                         : "The sound input \"" + id + "\" is not there.");
    wanted.suggestedLatency = Pa_GetDeviceInfo(wanted.device)->defaultHighInputLatency;
    const QuietErrors quiet;
    failed =
        Pa_OpenStream(&stream, &wanted, nullptr, rate, paFramesPerBufferUnspecified, paNoFlag, &come, this);
    if (failed != paNoError) {
      stream = nullptr;
      return failure();
    }
    Pa_SetStreamFinishedCallback(stream, &finished);
    const PaStreamInfo* info = Pa_GetStreamInfo(stream);
    constexpr double kTolerance = 0.01;
    if (!info || std::abs(info->sampleRate / rate - 1) <= kTolerance) return Outcome::success();
    failed = paInvalidSampleRate;
    close();
    return failure();
  }
  int32_t error() const override { return failed; }

  Outcome start(SoundReceiver& to) override {
    if (!stream) return Outcome::failure("The sound input is not open.");
    receiver = &to;
    stopping = false;
    overrun = 0;
    failed = Pa_StartStream(stream);
    return failed == paNoError ? Outcome::success() : failure();
  }
  void stop() override {
    if (!stream || !receiver) return;
    stopping = true;
    if (Pa_IsStreamStopped(stream) == 0) Pa_AbortStream(stream);
    receiver = nullptr;
  }
  int64_t overruns() const override { return overrun; }

 private:
  Outcome failure() const {
    return Outcome::failure(format("The sound input can't be used: %s.", Pa_GetErrorText(failed)));
  }
  void close() {
    stop();
    if (stream) Pa_CloseStream(stream);
    stream = nullptr;
  }
  void take(const int16_t* samples, size_t frames) {
    const double now = steadySeconds();
    const auto channels = static_cast<size_t>(taken) + 1;
    std::array<int16_t, 512> one;
    while (frames > 0) {
      const size_t count = std::min(frames, one.size());
      for (size_t i = 0; i < count; ++i) one[i] = samples[i * channels + channels - 1];
      receiver->take(std::span<const int16_t>(one).first(count), now);
      samples += count * channels;
      frames -= count;
    }
  }
  static int come(const void* input, void*, unsigned long frames, const PaStreamCallbackTimeInfo*,
                  PaStreamCallbackFlags flags, void* self) {
    auto& sound = *static_cast<PortAudioSound*>(self);
    if (flags & paInputOverflow) ++sound.overrun;
    if (input && !sound.stopping) sound.take(static_cast<const int16_t*>(input), frames);
    return paContinue;
  }
  static void finished(void* self) {
    auto& sound = *static_cast<PortAudioSound*>(self);
    if (!sound.stopping && sound.receiver) sound.receiver->lost("The velocity input went away.");
  }

  Session session;
  std::string id;
  PaStream* stream = nullptr;
  PaError failed = paNoError;
  int32_t taken = 0;
  SoundReceiver* receiver = nullptr;
  std::atomic<bool> stopping{false};
  std::atomic<int64_t> overrun{0};
};

}  // namespace

std::vector<SoundChoice> findPortAudioInputs() {
  const Session session;
  std::vector<SoundChoice> all;
  for (PaDeviceIndex i = 0; session.ok && i < Pa_GetDeviceCount(); ++i) {
    const PaDeviceInfo* device = Pa_GetDeviceInfo(i);
    if (device && device->maxInputChannels > 0) all.push_back({idOf(*device), idOf(*device)});
  }
  return all;
}

std::unique_ptr<SoundDriver> openPortAudioInput(const std::string& id) {
  return std::make_unique<PortAudioSound>(id);
}

}  // namespace tarnvisor
