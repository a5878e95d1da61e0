// What the video document says.
#pragma once

namespace tarnvisor::text {

inline constexpr const char* kCannotFindMovie = "Cannot find image file %1.\nPlease specify new location.";
inline constexpr const char* kKeepLink =
    " yes = keep link to this movie file, no = make a copy with new name.";
inline constexpr const char* kCopyMovie =
    "The movie %1 does not lie in the folder that the video is saved in.";
inline constexpr const char* kCopyOriginal =
    "The original movie %1, which the passes left as it was, does not lie in the folder that the video is saved in.";
inline constexpr const char* kCopyOrLeave =
    "\nyes = copy it there, so that both can be copied or moved together, no = leave it where it is.";
inline constexpr const char* kMovieStays = "The movie %1 stays where it is, outside the folder of the video.";
inline constexpr const char* kMovieAway = "The movie %1 is away and can't be copied. The link to it is kept.";
inline constexpr const char* kVideoFilter = "ZZ videos (*.mve)|*.mve|All files|*.*||";
inline constexpr const char* kMoviesFilter = "Movies (*.mve)|*.mve|All files (*.*)|*.*||";
inline constexpr const char* kAviFilter = "Movies (*.avi)|*.avi|All files (*.*)|*.*||";
inline constexpr const char* kDeleteSelected = "delete all images from image %i upto image %i?";
inline constexpr const char* kDeleteOthers = "delete all images except image %i upto image %i?";
inline constexpr const char* kRoundedToEvenRows =
    "; the y offsets of %i images were odd and are rounded to even rows, as fields can hold no others";
inline constexpr const char* kSelectWorkFolder = "Select Temporary work folder";
inline constexpr const char* kCorrectingMovement = "Calculating Movement Correction";
inline constexpr const char* kAligning = "aligning image %i of range %i to %i to image %i";
inline constexpr const char* kNothingToAlign =
    "No image was aligned: the correction begins at the image shown, %i, and none of the selected images follows it.";
inline constexpr const char* kThresholdTooLow =
    "\nWhere they fit best the images that failed differ by %.1f grey levels, and the threshold was %.1f. Under \"Auto Movement Correction...\" take \"Auto threshold\" off and set one of %.0f or more.";
inline constexpr const char* kOffsetsFilter = "Text (*.txt)|*.txt|csv (*.csv)|*.csv|All files (*.*)|*.*||";
inline constexpr const char* kFocusAreas =
    "Number of areas per image area in which to find best focus. Minimum is 2.";
inline constexpr const char* kNoImageInCell = "No image lies within a cell: correct the movement first.";
inline constexpr const char* kNoFocus = "The focus of each image is 0: see the focus measurement settings.";
inline constexpr const char* kUnreadForWidths = "%i images can't be read and were not measured.";
inline constexpr const char* kMovedByHand = "images %i to %i moved by hand by (%i,%i)";
inline constexpr const char* kUnreadImage = "image %i can't be read";
inline constexpr const char* kUnreadImages = "%i images can't be read: their focus is shown as 0.";
inline constexpr const char* kRegionOutside = "The region lies outside the images.";
inline constexpr const char* kThresholdLabel =
    "Threshold level.  Set a noise level to prevent high flow artifacts for background tissue.";
inline constexpr const char* kGainLabel =
    "Gain factor to improve image.  It does not change the data or FCF or FCD results.";
inline constexpr const char* kFramesPerFcd = "number of frames per FCD (-1 to use whole video or selection)";
inline constexpr const char* kNoRange = "A range needs three images at least; -1 takes all of them.";
inline constexpr const char* kFftPoints =
    "Number of FFT points. Must be a Power of 4.  First n*2 images are used.";
inline constexpr const char* kFftPointsOfPixel = "number of FFT points (must be a power of 4)";
inline constexpr const char* kMovementLevel =
    "Movement level threshold, to seperate background from vessels.";
inline constexpr const char* kLowCutoff =
    "Low frequency cutoff.  To remove slow movements.  In number of FFT bins. i.e. fps/(2n) ";
inline constexpr const char* kHighCutoff =
    "Hgh frequency cutoff.  To remove unwanted fast movements.  In number of FFT bins.";
inline constexpr const char* kGreyOnly =
    "Flow is measured on grey images. Make them grey by \"Convert to grey\" first.";
inline constexpr const char* kNotCorrected =
    "The video was not corrected for movement: all offsets of its images are 0, and what moved counts as flow.";
inline constexpr const char* kPartlyUncorrected =
    "were not corrected for movement: they all have one offset, and what moved counts as flow.";
inline constexpr const char* kMeasureAllTheSame = "\nMeasure the flow all the same?";
inline constexpr const char* kOfFields =
    "The images are fields, which show the even and the odd rows in turn: edges count as flow.";
inline constexpr const char* kMapsStay =
    "The picture shows a map that was measured. Duplicate it to process the picture.";
inline constexpr const char* kMapsAway = "The maps can't be read from %s. Zeros are shown in their place.";
inline constexpr const char* kMapsDontFit =
    "%s holds %llu bytes, and maps of %i x %i take %llu. Zeros are shown in their place.";
inline constexpr const char* kMapsOfAnother =
    "%s holds the maps of another measurement, and those of this one are away. Choose another name.";
inline constexpr const char* kMapsUnwritten = "%s is saved without its maps: %s";
inline constexpr const char* kTooFewImages =
    "The selection has fewer images than one sample is taken of: see \"Set sample rate\".";
inline constexpr const char* kNoVelocity = "no velocity";
inline constexpr const char* kVelocityRejected =
    "Velocity rejected. Do you want to change the selected part of the velocity trace?";
inline constexpr const char* kMarkGoodPart = "Mark good part in linescan, then click on Calculate";
inline constexpr const char* kLinescanTaken =
    "The linescan window is taking another line; stop that one first.";
inline constexpr const char* kLinescanChanged =
    "The linescan window was changed while the lines were sampled: nothing was stored. Scan them once more.";
inline constexpr const char* kOneLineOnly =
    "The method of the linescan window is the delay between two lines: choose another in \"CBV calculation parameters\".";
inline constexpr const char* kNoVersions =
    "There is one version alone: a filter or another pass over the images makes the next.";
inline constexpr const char* kPassIsAVersion =
    "What was done before the video was opened is taken back by \"Go to version...\".";
inline constexpr const char* kNoMemory = "There is not enough memory.";

}  // namespace tarnvisor::text
