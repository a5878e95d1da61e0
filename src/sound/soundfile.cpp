// Samples of a file.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "sound/pacedsound.h"

namespace tarnvisor {

namespace {

constexpr uint16_t kPcm = 1, kExtensible = 0xFFFE;

class SoundFile final : public SoundSource {
 public:
  explicit SoundFile(std::string name) : path(std::move(name)) {}

  Outcome open(uint32_t rate, int32_t channel) override {
    file.close();
    file.clear();
    file.open(path, std::ios::binary | std::ios::ate);
    if (!file) return Outcome::failure(path + " can't be opened.");
    const auto size = static_cast<uint64_t>(std::max<std::streamoff>(0, file.tellg()));
    file.seekg(0);
    channels = 1;
    left = size;
    const bool isWav = take(4) && std::memcmp(bytes.data(), "RIFF", 4) == 0;
    file.clear();
    file.seekg(0);
    if (isWav || equalIgnoringCase(extensionOf(path), "wav"))
      if (Outcome read = readHeader(size, rate); !read) return read;
    if (channel < 0 || channel >= channels)
      return Outcome::failure(format("%s has no channel %i: it has %i.", path.c_str(),
                                     static_cast<int>(channel) + 1, static_cast<int>(channels)));
    taken = channel;
    return Outcome::success();
  }

  size_t read(std::span<int16_t> samples) override {
    const size_t frame = 2 * static_cast<size_t>(channels);
    const size_t frames = static_cast<size_t>(std::min<uint64_t>(samples.size(), left / frame));
    bytes.resize(frames * frame);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    const size_t got = static_cast<size_t>(file.gcount()) / frame;
    left -= got * frame;
    for (size_t i = 0; i < got; ++i)
      samples[i] = static_cast<int16_t>(wordAt(i * frame + 2 * static_cast<size_t>(taken)));
    return got;
  }
  std::string wordsOfEnd() const override { return path + " has ended."; }

 private:
  uint16_t wordAt(size_t at) const { return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8); }
  uint32_t dwordAt(size_t at) const { return wordAt(at) | uint32_t{wordAt(at + 2)} << 16; }
  bool take(size_t count) {
    bytes.resize(count);
    return static_cast<bool>(
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count)));
  }

  // Up to the first sample. What the header says beyond the file's end is not there.
  Outcome readHeader(uint64_t size, uint32_t rate) {
    Outcome none = Outcome::failure(path + " is no WAV file of 16-bit samples.");
    if (!take(12) || std::memcmp(bytes.data(), "RIFF", 4) != 0 ||
        std::memcmp(bytes.data() + 8, "WAVE", 4) != 0)
      return none;
    bool described = false;
    uint32_t itsRate = 0;
    while (take(8)) {
      const std::string kind(bytes.begin(), bytes.begin() + 4);
      const uint64_t length = dwordAt(4);
      const auto at = static_cast<uint64_t>(file.tellg());
      if (kind == "data" && described) {
        left = std::min(length, size - at);
        if (itsRate == rate) return Outcome::success();
        return Outcome::failure(format("%s has %u samples a second, not %u.", path.c_str(), itsRate, rate));
      }
      if (kind == "fmt " && length >= 16 && length <= size - at && take(16)) {
        const uint16_t code = wordAt(0);
        channels = wordAt(2);
        itsRate = dwordAt(4);
        described = (code == kPcm || code == kExtensible) && wordAt(14) == 16 && channels > 0;
        if (!described) return none;
      }
      file.seekg(static_cast<std::streamoff>(std::min(size, at + length + (length & 1))));
    }
    return none;
  }

  std::string path;
  std::ifstream file;
  int32_t channels = 1, taken = 0;
  uint64_t left = 0;  // bytes of samples
  std::vector<uint8_t> bytes;
};

}  // namespace

std::unique_ptr<SoundSource> soundFile(const std::string& path) { return std::make_unique<SoundFile>(path); }

}  // namespace tarnvisor
