// What a TIFF file can hold, told before memory is taken for what it says that it holds.
#pragma once

#include <string>

using TIFF = struct tiff;  // the library's

namespace tarnvisor {

inline constexpr const char* kFewerPixels = "it holds fewer pixels than it tells of.";

// Of what opens all the same.
inline constexpr const char* kDamagedPicture =
    "The file is damaged or was cut off: what can't be read of the picture is grey or out of place.";

// isDamaged becomes true when a picture's codes turn out to be damaged while it is read. Null where the file
// can't be opened.
TIFF* openTiffToRead(const std::string& path, const char* mode, bool& isDamaged);

// Of the present page: without compression its strips or tiles lie in the file and are as long as the picture
// takes; with it they are no more than the codec's best could have made so small.
bool holdsItsPixels(TIFF* tiff);

}  // namespace tarnvisor
