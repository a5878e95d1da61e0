// What a TIFF file can hold, told before memory is taken for what it says that it holds.
#pragma once

using TIFF = struct tiff;  // the library's

namespace tarnvisor {

inline constexpr const char* kFewerPixels = "it holds fewer pixels than it tells of.";

// Of the present page: without compression its strips or tiles lie in the file and are as long as the picture
// takes; with it they are no more than the codec's best could have made so small.
bool holdsItsPixels(TIFF* tiff);

}  // namespace tarnvisor
