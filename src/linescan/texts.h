// Words that several sources of this room tell.
#pragma once

namespace tarnvisor::text {

// The names by which the traces of a linescan are found.
inline constexpr const char* kScan2D = "scan2D";
inline constexpr const char* kDifference = "difference";
inline constexpr const char* kCorrellogram = "correllogram";
inline constexpr const char* kCbv = "cbv";
inline constexpr const char* kCbvUncut = "cbv-uncut";
inline constexpr const char* kCorrelation = "correlation";
inline constexpr const char* kPeakRatio = "peak ratio";
inline constexpr const char* kLine1 = "line1";
inline constexpr const char* kLine2 = "line2";
inline constexpr const char* kHough = "Hough";

inline constexpr const char* kLinescansOff = "Linescans are off.";
inline constexpr const char* kStripesNeedHighPass =
    "Stripes are looked for in what the high pass filter leaves of the scan: enable it first.";
inline constexpr const char* kNoStripes = "No stripes stand out of the noise.";
inline constexpr const char* kNoLinescan = "The linescan window does not take the line.";
inline constexpr const char* kLineTooLong = "The line is too long, or too wide, to be scanned.";

}  // namespace tarnvisor::text
