// The settings of export and import.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "base/text.h"
#include "settings/settings.h"
#include "traces/tracetext.h"

namespace tarnvisor {

namespace {

constexpr int32_t kNoDelimiter = 4;
constexpr int32_t kShortestStyle = 2;
constexpr std::array<char, 3> kStyles = {'E', 'f', 'g'};

int32_t known(int32_t value, int32_t last) { return value < 0 || value > last ? last : value; }

}  // namespace

void CTextSettings::read(const std::string& section) {
  const CTextSettings standard;
  const auto number = [&](const char* key, int32_t otherwise) {
    return settings.getInt(section, key, otherwise);
  };
  yscaled = number("y_scaled", standard.yscaled);
  xscaled = std::clamp(number("x_scaled", standard.xscaled), 0, 2);
  zscaled = number("z_scaled", standard.zscaled);
  binary = number("binary", standard.binary) != 0;
  headers = number("headers", standard.headers) != 0;
  coldelim = known(number("col delimiters", standard.coldelim), kNoDelimiter);
  rowdelim = known(number("row delimiters", standard.rowdelim), kNoDelimiter);
  format = known(number("format", standard.format), kShortestStyle);
  precision = std::clamp(number("precision", standard.precision), 0, kMostDigits);
  swapbytes = number("swapbytes", standard.swapbytes);
}

void CTextSettings::store(const std::string& section) const {
  settings.setInt(section, "y_scaled", yscaled);
  settings.setInt(section, "x_scaled", xscaled);
  settings.setInt(section, "z_scaled", zscaled);
  settings.setInt(section, "binary", binary);
  settings.setInt(section, "headers", headers);
  settings.setInt(section, "col delimiters", coldelim);
  settings.setInt(section, "row delimiters", rowdelim);
  settings.setInt(section, "format", format);
  settings.setInt(section, "precision", precision);
  settings.setInt(section, "swapbytes", swapbytes);
}

std::string CTextSettings::columnDelimiter() const {
  constexpr std::array<const char*, 5> delimiters = {"\t", ",", ";", " ", ""};
  return delimiters[static_cast<size_t>(known(coldelim, kNoDelimiter))];
}

std::string CTextSettings::rowDelimiter() const {
  if (rowdelim == 3) return columnDelimiter();
  constexpr std::array<const char*, 5> delimiters = {"\r\n", "\r", "\n", "", ""};
  return delimiters[static_cast<size_t>(known(rowdelim, kNoDelimiter))];
}

std::string CTextSettings::numberFormat() const {
  const int32_t style = known(format, kShortestStyle);
  const int32_t digits = std::clamp(precision, 0, kMostDigits) + (style == kShortestStyle ? 1 : 0);
  return tarnvisor::format("%%.%1i", digits) + kStyles[static_cast<size_t>(style)];
}

void CTextSettings::appendNumber(std::string& text, double value) const {
  constexpr std::array<std::chars_format, 3> styles = {std::chars_format::scientific,
                                                       std::chars_format::fixed, std::chars_format::general};
  const auto style = static_cast<size_t>(known(format, kShortestStyle));
  const int32_t digits = std::clamp(precision, 0, kMostDigits) + (style == kShortestStyle ? 1 : 0);
  std::array<char, 400> place;  // the longest is 309 digits, a point and 30 more
  const auto end = std::to_chars(place.data(), place.data() + place.size(), value, styles[style], digits).ptr;
  if (style == 0)
    std::transform(place.data(), end, place.data(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  text.append(place.data(), end);
}

}  // namespace tarnvisor
