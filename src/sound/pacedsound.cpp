#include "sound/pacedsound.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "base/clock.h"

namespace tarnvisor {

namespace {

constexpr size_t kPiece = 1024;

}  // namespace

Outcome PacedSound::open(uint32_t wanted, int32_t channel) {
  rate = wanted;
  return source->open(wanted, channel);
}

Outcome PacedSound::start(SoundReceiver& to) {
  if (rate == 0) return Outcome::failure("The sound input is not open.");
  stop();
  receiver = &to;
  stopping = ended = false;
  given = 0;
  if (pace == SoundPace::Clock) thread = std::thread([this] { run(); });
  return Outcome::success();
}

void PacedSound::stop() {
  if (thread.joinable()) {
    {
      const std::lock_guard guard(lock);
      stopping = true;
    }
    stopped.notify_all();
    thread.join();
  }
  receiver = nullptr;
}

// The time told is the samples' own.
bool PacedSound::give(size_t samples) {
  std::array<int16_t, kPiece> piece;
  while (samples > 0 && !ended) {
    const size_t wanted = std::min(samples, piece.size());
    const size_t got = source->read(std::span(piece).first(wanted));
    given += static_cast<int64_t>(got);
    receiver->take(std::span<const int16_t>(piece).first(got), static_cast<double>(given) / rate);
    samples -= got;
    ended = got < wanted;
  }
  if (ended) receiver->lost(source->wordsOfEnd());
  return !ended;
}

void PacedSound::step(size_t samples) {
  if (receiver && !ended) give(samples);
}

void PacedSound::run() {
  const double begin = steadySeconds();
  std::unique_lock guard(lock);
  while (!stopping) {
    const double due = begin + static_cast<double>(given + static_cast<int64_t>(kPiece)) / rate;
    const auto wait = std::chrono::duration<double>(due - steadySeconds());
    if (stopped.wait_for(guard, wait, [this] { return stopping; })) return;
    guard.unlock();
    const bool goesOn = give(kPiece);
    guard.lock();
    if (!goesOn) return;
  }
}

}  // namespace tarnvisor
