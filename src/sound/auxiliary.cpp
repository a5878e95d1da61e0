#include "sound/auxiliary.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr size_t kLongestLine = 256;
constexpr double kHertzPerStep = 100;  // of the bandwidth that is told to the instrument
constexpr int kHighestStep = 999;

// Nothing for a line that holds anything but numbers of 16 bits, or more of them than there are channels.
std::optional<AuxiliaryValues> parsed(std::string_view line, AuxiliaryValues values) {
  size_t channel = 0;
  while (!line.empty()) {
    if (line.front() == ' ' || line.front() == ',' || line.front() == '\t') {
      line.remove_prefix(1);
      continue;
    }
    int16_t value = 0;
    const auto [stop, error] = std::from_chars(line.data(), line.data() + line.size(), value);
    if (error != std::errc() || channel == values.size()) return std::nullopt;
    values[channel++] = value;
    line.remove_prefix(static_cast<size_t>(stop - line.data()));
    if (!line.empty() && line.front() != ' ' && line.front() != ',' && line.front() != '\t')
      return std::nullopt;
  }
  return values;
}

class SerialLine final : public AuxiliarySource {
 public:
  SerialLine(int descriptor, std::string name) : file(descriptor), path(std::move(name)) {}
  ~SerialLine() override { ::close(file); }
  SerialLine(const SerialLine&) = delete;
  SerialLine& operator=(const SerialLine&) = delete;

  AuxiliaryValues values() override {
    char piece[256];
    for (int reads = 0; reads < 64; ++reads) {
      const ssize_t got = ::read(file, piece, sizeof piece);
      if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) noteLost(got < 0 ? errno : EPIPE);
      if (got <= 0) break;
      for (ssize_t i = 0; i < got; ++i) take(piece[i]);
    }
    return held;
  }
  std::string takeFailure() override { return std::exchange(lost, {}); }
  Outcome setBandwidth(double hertz) override {
    return send(format("B%03i\r", std::clamp(truncated(std::round(hertz / kHertzPerStep)), 0, kHighestStep)));
  }
  Outcome send(const std::string& command) override {
    const ssize_t written = ::write(file, command.data(), command.size());
    if (written == static_cast<ssize_t>(command.size())) return Outcome::success();
    return Outcome::failure(
        format("%s takes no command: %s.", path.c_str(), written < 0 ? std::strerror(errno) : "it is busy"));
  }

 private:
  void take(char letter) {
    if (letter == '\r' || letter == '\n') {
      if (line.size() <= kLongestLine)
        if (const auto fresh = parsed(line, held)) held = *fresh;
      line.clear();
    } else if (line.size() <= kLongestLine) {
      line += letter;
    }
  }
  void noteLost(int error) {
    if (std::exchange(wasLost, true)) return;
    lost = format("The serial line %s gives nothing any more: %s. Its last values are recorded on.",
                  path.c_str(), std::strerror(error));
  }
  int file;
  std::string path, line, lost;
  bool wasLost = false;
  AuxiliaryValues held{};
};

}  // namespace

std::unique_ptr<AuxiliarySource> openSerialLine(const std::string& path, std::string& why) {
  const int file = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  termios mode{};
  if (file < 0 || ::tcgetattr(file, &mode) != 0) {
    why = format("The serial line %s can't be used: %s.", path.c_str(), std::strerror(errno));
    if (file >= 0) ::close(file);
    return nullptr;
  }
  ::cfmakeraw(&mode);
  mode.c_cflag |= CLOCAL | CREAD;
  ::cfsetspeed(&mode, B9600);
  ::tcsetattr(file, TCSANOW, &mode);
  return std::make_unique<SerialLine>(file, path);
}

}  // namespace tarnvisor
