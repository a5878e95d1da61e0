#include "dicom/dicomfacts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <random>
#include <string_view>

#include "base/checksum.h"

namespace tarnvisor {

namespace {

std::string digitsOf(const std::string& text) {
  std::string digits;
  std::ranges::copy_if(text, std::back_inserter(digits), [](char c) { return c >= '0' && c <= '9'; });
  return digits;
}

// The 128 bits of a UUID of that version, as one decimal number.
std::string uidOf(std::array<uint32_t, 4> words, uint32_t version) {
  words[1] = (words[1] & 0xffff0fff) | version << 12;
  words[2] = (words[2] & 0x3fffffff) | 0x80000000;
  std::string digits;
  while (std::ranges::any_of(words, [](uint32_t word) { return word != 0; })) {
    uint64_t rest = 0;
    for (uint32_t& word : words) {
      rest = rest << 32 | word;
      word = static_cast<uint32_t>(rest / 10);
      rest %= 10;
    }
    digits += static_cast<char>('0' + rest);
  }
  return "2.25." + std::string(digits.rbegin(), digits.rend());
}

bool beginsCharacter(char c) { return (static_cast<uint8_t>(c) & 0xc0) != 0x80; }

}  // namespace

std::string dicomText(const std::string& text, size_t most) {
  constexpr std::string_view kSeparators = "\\^=";
  std::string taken;
  size_t characters = 0;
  for (const char c : text) {
    if (beginsCharacter(c) && ++characters > most) break;
    const bool isControl = static_cast<uint8_t>(c) < 0x20 || c == 0x7f;
    taken += isControl || kSeparators.find(c) != std::string_view::npos ? ' ' : c;
  }
  return taken;
}

std::string freshDicomUid() {
  std::random_device chance;
  return uidOf({chance(), chance(), chance(), chance()}, 4);
}

std::string dicomUidOf(const std::string& words) {
  const std::string digits = sha256(words);
  std::array<uint32_t, 4> bits{};
  for (size_t i = 0; i < bits.size(); ++i) std::from_chars(&digits[8 * i], &digits[8 * i] + 8, bits[i], 16);
  return uidOf(bits, 8);
}

std::string dicomDate(const std::string& time) {
  const std::string digits = digitsOf(time);
  return digits.size() >= 8 ? digits.substr(0, 8) : "";
}

std::string dicomClock(const std::string& time) {
  const std::string digits = digitsOf(time);
  return digits.size() >= 14 ? digits.substr(8, 6) : "";
}

}  // namespace tarnvisor
