#include "drawing/textwrap.h"

#include "base/text.h"

namespace tarnvisor {

namespace {

// Where the character that a byte belongs to begins.
size_t beginOfCharacter(const std::string& line, size_t at) {
  while (at > 0 && at < line.size() && (static_cast<uint8_t>(line[at]) & 0xc0) == 0x80) --at;
  return at;
}

// How many bytes of a line fit, at least its first character; up to a blank where there is one.
size_t fitting(const Canvas& canvas, const std::string& line, int32_t width) {
  const auto wide = [&](size_t count) { return canvas.textSize(line.substr(0, count)).width > width; };
  if (line.empty() || !wide(line.size())) return line.size();
  size_t low = 1, high = line.size();
  while (high - low > 1) {
    const size_t middle = (low + high) / 2;
    (wide(beginOfCharacter(line, middle)) ? high : low) = middle;
  }
  const size_t blank = line.rfind(' ', low);
  if (blank != std::string::npos && blank > 0) return blank;
  low = beginOfCharacter(line, low);
  if (low > 0) return low;
  do ++low;
  while (low < line.size() && (static_cast<uint8_t>(line[low]) & 0xc0) == 0x80);
  return low;
}

}  // namespace

std::vector<std::string> wrapped(const Canvas& canvas, const std::string& line, int32_t width) {
  std::vector<std::string> pieces;
  std::string rest = line;
  do {
    const size_t fits = fitting(canvas, rest, width);
    pieces.push_back(rest.substr(0, fits));
    rest.erase(0, fits);
    rest.erase(0, rest.find_first_not_of(' '));
  } while (!rest.empty());
  return pieces;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines = split(text, '\n');
  for (std::string& line : lines)
    if (!line.empty() && line.back() == '\r') line.pop_back();
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

}  // namespace tarnvisor
