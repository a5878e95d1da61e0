#include "camera/simulatedcamera.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "base/clock.h"
#include "base/text.h"
#include "simulatedpicture.h"

namespace tarnvisor {

namespace {

constexpr int32_t leastBlocks = 4;
constexpr int32_t mostFramesBehind = 4;  // of the clock; a computer slower than that loses frames
constexpr size_t remembered = 1u << 13;  // frames whose truth is known

SimulatedCameraSettings withinRange(SimulatedCameraSettings set) {
  const auto side = [](int32_t pixels) { return std::clamp(pixels, 64, 4096) / 8 * 8; };
  set.sensor = {side(set.sensor.width), side(set.sensor.height)};
  set.spellBlur = std::clamp(set.spellBlur, 0.0, 8.0);
  set.delay = std::clamp(set.delay, 1, 4);
  return set;
}

class Simulation : public SimulatedCamera {
 public:
  explicit Simulation(const SimulatedCameraSettings& settings);
  ~Simulation() override { Simulation::stop(); }

  CameraInfo info() const override;
  std::optional<CameraRange> range(CameraRole role) override;
  std::optional<double> value(CameraRole role) override;
  Outcome set(CameraRole role, double value) override;
  Size sensor() const override { return registers.sensor(); }
  Rect area() const override { return registers.area(); }
  Outcome setArea(const Rect& area) override;
  int32_t bufferCount() const override { return leastBlocks; }
  int64_t bufferSize() const override;
  Outcome announce(uint8_t* block, int64_t bytes) override;
  void revokeAll() override;
  void requeue(uint8_t* block) override;
  Outcome start(FrameReceiver& receiver) override;
  void stop() override;

  std::optional<SimulatedTruth> truthOf(int64_t counter) const override;
  void step(int32_t frames) override;

 private:
  struct Block {
    uint8_t* memory = nullptr;
    int64_t bytes = 0;
  };
  // A setting that works from a frame on.
  struct Pending {
    int64_t from = 0;
    SimulatedRegisters registers;
  };
  struct Shot {
    int64_t counter = -1;
    double seconds = 0;  // of the camera's time
    double due = 0;      // by steadySeconds()
    SimulatedRegisters registers;
    uint8_t* block = nullptr;  // null: the frame is lost
  };
  using Lock = std::unique_lock<std::mutex>;

  bool running() const { return thread.joinable(); }
  bool hasVanished() const;
  bool isAnnounced(const uint8_t* memory) const;
  void run(FrameReceiver& receiver);
  bool makePicture();
  void takeEffect();
  bool waitForTurn(Lock& lock);
  bool isLost(const Shot& shot) const;
  Shot beginFrame();
  void endStep();
  void end(FrameReceiver& receiver, const char* why);

  const SimulatedCameraSettings settings;
  SimulatedRegisters registers;  // as set; of the caller's thread
  std::thread thread;

  // By the thread alone while it runs.
  std::unique_ptr<SimulatedPicture> picture;

  // Between the threads.
  mutable std::mutex mutex;
  std::condition_variable changed;
  std::vector<Block> blocks;
  std::vector<uint8_t*> waiting;  // blocks to be filled, in this order
  std::vector<Pending> pending;   // ascending
  SimulatedRegisters inForce;
  std::vector<Shot> shots;  // by counter, modulo their number
  int64_t next = 0;         // counter
  int64_t made = 0;         // since the opening
  int32_t steps = 0;        // asked for
  double passed = 0;        // seconds of the camera's time, of all frames so far
  double zero = 0;          // steadySeconds() when none had passed
  bool stopping = false;
  bool ended = true;
};

Simulation::Simulation(const SimulatedCameraSettings& given)
    : settings(withinRange(given)),
      registers(settings.sensor, settings.mostFramesPerSecond, settings.without),
      inForce(registers),
      shots(remembered, Shot{.registers = registers}) {
  pending.reserve(static_cast<size_t>(settings.delay) + 1);
}

CameraInfo Simulation::info() const {
  return {kSimulatedCamera, "Tarnvisor", "Simulated finger",
          format("%llu", static_cast<unsigned long long>(settings.seed))};
}

bool Simulation::hasVanished() const {
  const Lock lock(mutex);
  return settings.vanishesAfter > 0 && made >= settings.vanishesAfter;
}

std::optional<CameraRange> Simulation::range(CameraRole role) {
  if (!registers.has(role)) return std::nullopt;
  return registers.range(role);
}

std::optional<double> Simulation::value(CameraRole role) {
  if (!registers.has(role) || hasVanished()) return std::nullopt;
  return registers[role];
}

Outcome Simulation::set(CameraRole role, double value) {
  if (!registers.has(role)) return Outcome::failure(format("The camera has no %s.", nameOf(role)));
  if (hasVanished()) return Outcome::failure("The camera does not answer.");
  if (std::isnan(value)) return Outcome::failure(format("The %s is not a number.", nameOf(role)));
  if (role == CameraRole::Binning && running())
    return Outcome::failure("The binning can't change while the camera runs.");
  registers.set(role, value);
  const Lock lock(mutex);
  const int64_t from = next + settings.delay;
  if (!pending.empty() && pending.back().from == from)
    pending.back().registers = registers;
  else
    pending.push_back({from, registers});
  return Outcome::success();
}

Outcome Simulation::setArea(const Rect& area) {
  if (running()) return Outcome::failure("The area can't change while the camera runs.");
  if (hasVanished()) return Outcome::failure("The camera does not answer.");
  return registers.setArea(area);
}

int64_t Simulation::bufferSize() const {
  return static_cast<int64_t>(registers.area().width()) * registers.area().height();
}

Outcome Simulation::announce(uint8_t* memory, int64_t bytes) {
  if (!memory || bytes < bufferSize())
    return Outcome::failure(
        format("A block for frames has less than %lld bytes.", static_cast<long long>(bufferSize())));
  const Lock lock(mutex);
  if (isAnnounced(memory)) return Outcome::failure("The block has been announced already.");
  blocks.push_back({memory, bytes});
  waiting.reserve(blocks.size());
  waiting.push_back(memory);
  changed.notify_all();
  return Outcome::success();
}

bool Simulation::isAnnounced(const uint8_t* memory) const {
  return std::any_of(blocks.begin(), blocks.end(), [&](const Block& b) { return b.memory == memory; });
}

void Simulation::revokeAll() {
  const Lock lock(mutex);
  blocks.clear();
  waiting.clear();
}

void Simulation::requeue(uint8_t* memory) {
  const Lock lock(mutex);
  if (!isAnnounced(memory) || std::find(waiting.begin(), waiting.end(), memory) != waiting.end()) return;
  waiting.push_back(memory);
  changed.notify_all();
}

Outcome Simulation::start(FrameReceiver& receiver) {
  if (running()) return Outcome::failure("The camera is running already.");
  if (hasVanished()) return Outcome::failure("The camera does not answer.");
  if (blocks.size() < static_cast<size_t>(leastBlocks))
    return Outcome::failure(format("The camera needs %d blocks for frames.", leastBlocks));
  for (const Block& block : blocks)
    if (block.bytes < bufferSize()) return Outcome::failure("A block for frames is too small for the area.");
  const Lock lock(mutex);
  pending.clear();
  inForce = registers;
  for (Shot& shot : shots) shot.counter = -1;
  next = 0;
  steps = 0;
  try {
    thread = std::thread([this, &receiver] { run(receiver); });
  } catch (const std::system_error&) {
    return Outcome::failure("There is no thread for the camera.");
  }
  stopping = ended = false;
  return Outcome::success();
}

void Simulation::stop() {
  if (!running()) return;
  {
    const Lock lock(mutex);
    stopping = true;
    changed.notify_all();
  }
  thread.join();
  const Lock lock(mutex);
  ended = true;
  waiting.clear();
  for (const Block& block : blocks) waiting.push_back(block.memory);
}

bool Simulation::makePicture() {
  if (picture) return true;
  try {
    picture = std::make_unique<SimulatedPicture>(settings);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

void Simulation::run(FrameReceiver& receiver) {
  if (!makePicture()) return end(receiver, "There is not enough memory for the simulated finger.");
  Lock lock(mutex);
  zero = steadySeconds() - passed;
  while (waitForTurn(lock)) {
    const Shot shot = beginFrame();
    lock.unlock();
    if (shot.block) {
      picture->draw(shot.seconds, shot.registers, made, shot.block);
      const Rect& area = shot.registers.area();
      receiver.take({shot.block, area.width(), area.height(), area.width(), shot.counter,
                     settings.pace == CameraPace::Clock ? steadySeconds() : shot.due});
    }
    if (hasVanished()) return end(receiver, "The camera has vanished.");
    lock.lock();
    endStep();
  }
}

void Simulation::end(FrameReceiver& receiver, const char* why) {
  receiver.lost(why);
  const Lock lock(mutex);
  ended = true;
  changed.notify_all();
}

void Simulation::takeEffect() {
  while (!pending.empty() && pending.front().from <= next) {
    inForce = pending.front().registers;
    pending.erase(pending.begin());
  }
}

// False when it is to stop.
bool Simulation::waitForTurn(Lock& lock) {
  takeEffect();
  switch (settings.pace) {
    case CameraPace::Clock: {
      const std::chrono::duration<double> due(zero + passed + inForce.framePeriod());
      const std::chrono::steady_clock::time_point moment(
          std::chrono::duration_cast<std::chrono::steady_clock::duration>(due));
      changed.wait_until(lock, moment, [&] { return stopping; });
      break;
    }
    case CameraPace::Step:
      changed.wait(lock, [&] { return stopping || steps > 0; });
      break;
    case CameraPace::Blocks:
      changed.wait(lock, [&] { return stopping || !waiting.empty(); });
      break;
  }
  return !stopping;
}

bool Simulation::isLost(const Shot& shot) const {
  if (waiting.empty()) return true;
  if (settings.losesEvery > 0 && (shot.counter + 1) % settings.losesEvery == 0) return true;
  return settings.pace == CameraPace::Clock &&
         steadySeconds() - shot.due > mostFramesBehind * shot.registers.framePeriod();
}

Simulation::Shot Simulation::beginFrame() {
  Shot shot{.counter = next++, .seconds = passed, .registers = inForce};
  ++made;
  passed += inForce.framePeriod();
  shot.due = zero + passed;
  if (!isLost(shot)) {
    shot.block = waiting.front();
    waiting.erase(waiting.begin());
  }
  shots[static_cast<size_t>(shot.counter) % shots.size()] = shot;
  return shot;
}

void Simulation::endStep() {
  if (steps == 0 || --steps > 0) return;
  changed.notify_all();
}

void Simulation::step(int32_t frames) {
  Lock lock(mutex);
  if (ended) return;
  steps += std::max(frames, 0);
  changed.notify_all();
  changed.wait(lock, [&] { return steps == 0 || ended; });
}

std::optional<SimulatedTruth> Simulation::truthOf(int64_t counter) const {
  Lock lock(mutex);
  if (counter < 0) return std::nullopt;
  const Shot shot = shots[static_cast<size_t>(counter) % shots.size()];
  if (shot.counter != counter) return std::nullopt;
  lock.unlock();
  SimulatedTruth truth = picture->finger().truthAt(shot.seconds);
  truth.frame = static_cast<int32_t>(counter);
  truth.lightMicroseconds = shot.registers.lightMicroseconds();
  truth.exposure = shot.registers[CameraRole::Exposure];
  truth.gain = shot.registers[CameraRole::Gain];
  truth.framesPerSecond = shot.registers[CameraRole::FrameRate];
  truth.strobe = shot.registers.on(CameraRole::Strobe);
  truth.lost = !shot.block;
  return truth;
}

}  // namespace

std::unique_ptr<SimulatedCamera> openSimulatedCamera(const SimulatedCameraSettings& settings) {
  return std::make_unique<Simulation>(settings);
}

}  // namespace tarnvisor
