// The words of the image document that stand in several places, with the numbers under which they are known.
#pragma once

namespace tarnvisor::text {

inline constexpr const char* kClockwiseRotation = "Clockwise rotation (degrees)";  // 11001
inline constexpr const char* kCouldNotLoadImage = "Could not load image";          // 11005
inline constexpr const char* kErrorSavingImage = "Error saving image.";            // 11006
inline constexpr const char* kNeedsGrey =
    "Needs an image of grey levels: \"Convert to grey\" makes one of a picture with colours.";
inline constexpr const char* kGainAndOffset = "(x%5.2f + %5.1f)";                     // 11010
inline constexpr const char* kCannotRegisterClipboard = "Cannot Register Clipboard";  // 11012
inline constexpr const char* kCannotOpenClipboard = "Cannot Open Clipboard";          // 11013
inline constexpr const char* kCannotFindImage =
    "Cannot find image file %1.\nPlease specify new location.";  // 11014
inline constexpr const char* kCopyOf = " Copy of %s ";           // 11025
inline constexpr const char* kEqualise = "Equalise";             // 11026
inline constexpr const char* kHighPass = "High pass (%ix%i)";    // 11034, of the low pass too
inline constexpr const char* kImageFilter =
    "Images (*.zzg;*.bmp;*.tif)|*.zzg;*.bmp;*.tif|Zzg images (*.zzg)|*.zzg|Bitmaps (*.bmp)|*.bmp|TIFF images (*.tif)|*.tif|All files (*.*)|*.*||";  // 11037
inline constexpr const char* kInvert = "Invert";                // 11045
inline constexpr const char* kNewLineWidth = "New line width";  // 11049
inline constexpr const char* kPerPixel = "/pixel";              // 11078
inline constexpr const char* kRemoveDust = "Remove Dust";       // 11100
inline constexpr const char* kPutBackDust = "Put back dust";
inline constexpr const char* kSaveRegionOnly =
    "Save only the region of interest? The pixels outside it would be lost for ever from %1.\nyes = only the region is kept; no = the whole image is kept.";
inline constexpr const char* kCalibrationLabel = "calibration";
inline constexpr const char* kRoi = " ROI (%i,%i)-(%i,%i).";         // 11102
inline constexpr const char* kSimpleThreshold = "simple threshold";  // 11106
inline constexpr const char* kLineEnd = "\r\n";
inline constexpr const char* kDustFilter = "Dustmask (*.dm)|*.dm||";
inline constexpr const char* kMetafileFilter = "Windows Meta files (*.wmf)|*.wmf||";

// The charts of grey levels.
inline constexpr const char* kGreyLevelProfile = "Grey level profile";  // 11032
inline constexpr const char* kHistogramTitle = "Histogram";             // 11035

// The printed page.
inline constexpr const char* kCaptured = "Captured : %s";                                            // 11080
inline constexpr const char* kFilename = "Filename : ";                                              // 11081
inline constexpr const char* kImageName = "Image : ";                                                // 11082
inline constexpr const char* kPrintScale = "Print scale : x, %7.2f  y, %7.2f %s / cm";               // 11083
inline constexpr const char* kPrintMagnification = "magnification : x, %7.2f  y, %7.2f %s / pixel";  // 11084
inline constexpr const char* kNotes = "Notes";                                                       // 11085
inline constexpr const char* kPrinted = "Printed : %s";                                              // 11086
inline constexpr const char* kBanner = "T a r n v i s o r";                                          // 11088
inline constexpr const char* kNoPrinterSupport =
    "Current printer driver does not provide necessary support.";  // 11089

}  // namespace tarnvisor::text
