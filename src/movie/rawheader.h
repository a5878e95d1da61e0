// Frames of an outside video source: a file of grey pixels (.raw) and beside it a header that tells of them.
// The header has lines "KEY value", or is XML where its name ends in .xml or its text begins with a tag.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/outcome.h"

namespace tarnvisor {

struct RawHeader {
  int32_t width = 640;
  int32_t height = 480;
  int32_t frames = 0;                   // 0: as many as the file holds
  std::optional<double> magnification;  // user units a pixel
  bool isSilent = true;                 // none of the keys was there
  std::string text;                     // all of it, line ends as blanks
};

// A key that is missing leaves its default; one without a number, or with one that can't be, is refused in
// words.
Outcome parseRawHeader(std::string_view text, bool xml, RawHeader& header);
Outcome readRawHeader(const std::string& path, RawHeader& header);

bool isRawFile(const std::string& path);
// The other file of the two, of the same base name; empty when it isn't there.
std::string rawHeaderBeside(const std::string& rawPath);
std::string rawFramesBeside(const std::string& headerPath);

}  // namespace tarnvisor
