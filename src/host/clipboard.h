// The port for the clipboard.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnvisor {

enum class ClipboardResult { Done, CannotOpen, CannotRegister };

class Clipboard {
 public:
  virtual ~Clipboard() = default;
  virtual void setText(const std::string& text) = 0;
  virtual std::optional<std::string> text() = 0;
  // Bytes in a format of this program's own, known by its name.
  virtual ClipboardResult setData(const std::string& format, const std::vector<uint8_t>& bytes) = 0;
  virtual std::optional<std::vector<uint8_t>> data(const std::string& format) = 0;
  // A picture as the bytes of a bitmap file without its 14-byte file header.
  virtual std::optional<std::vector<uint8_t>> bitmap() = 0;
};

}  // namespace tarnvisor
