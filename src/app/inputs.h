// What the idle pass and the frame's commands need of the camera, the velocity input and their open views.
// The rooms that have them implement these; tests script them.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tarnvisor {

// The velocity input's device. Samples are 16-bit and mono.
class VelocityInput {
 public:
  virtual ~VelocityInput() = default;
  virtual void setAddress(int32_t address) = 0;
  virtual void initialise(int32_t channels) = 0;
  virtual bool isReady() const = 0;
  virtual int32_t availableSamples() = 0;
  // Reads up to the buffer's length; returns how many there were.
  virtual int32_t read(std::span<int16_t> buffer) = 0;
  virtual void stop() = 0;
  // Nothing waits now, and it wakes the message loop when something comes, so that nobody has to ask for it
  // all the time.
  virtual bool wakesTheLoop() { return false; }
  virtual void chooseHardware() {}  // asks which device it is
};

// The open velocity view, as far as the idle pass sees it.
class VelocitySink {
 public:
  virtual ~VelocitySink() = default;
  virtual bool isRecording() const = 0;
  virtual void takeSamples(std::span<const int16_t> samples) = 0;
  virtual void start() {}
  virtual void stop() {}
};

class CameraPoll {
 public:
  static constexpr uint32_t kNewPicture = 1u << 1;
  virtual ~CameraPoll() = default;
  virtual uint32_t status() = 0;
  virtual bool isTriggered() = 0;
  virtual bool isRunning() = 0;
  // It wakes the message loop when a frame comes, so that nobody has to ask for one all the time.
  virtual bool wakesTheLoop() const { return false; }
  virtual bool hasStoppedByItself() = 0;
  virtual int32_t frameCounter() = 0;       // frames since it was started; -1 when it counts none
  virtual double frameRate() { return 0; }  // a second, as the camera tells it
};

// The open live view, as far as the application sees it.
class LiveSink {
 public:
  virtual ~LiveSink() = default;
  virtual void redrawNow() = 0;
  // Freezes and saves the present frame, under the automatic name when the path is empty.
  virtual void freezeAndSave(const std::string& path) = 0;
  virtual void startCamera() {}
  virtual void stopCamera() {}
};

// The open recorder, as far as the frame's commands see it.
class RecorderSink {
 public:
  virtual ~RecorderSink() = default;
  virtual bool isRecording() const = 0;
  virtual void startRecording() = 0;
  virtual void stopRecording() = 0;
  virtual void editSettings() {}
};

// The view of an image document, as far as loading on another program's request needs it.
class AutoLoadSink {
 public:
  virtual ~AutoLoadSink() = default;
  virtual void loadImageFile(const std::string& path) = 0;
  // Nothing was done with the picture that was loaded: the next may take its place.
  virtual bool isUntouched() const = 0;
};

}  // namespace tarnvisor
