// Stills of any common kind (PNG, JPEG, 16-bit and multi-page TIFF, ...) as images of 8 bits: colour stays
// colour, samples of more bits are stretched from the smallest to the largest. For pictures that come in;
// what the image buffer itself loads and saves is told in image/imagefile.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/outcome.h"
#include "image/stillsequence.h"
#include "image/toldscale.h"
#include "image/zzimage.h"

namespace tarnvisor {

// By its ending: a still that importStill or the image buffer can read.
bool isStillFile(const std::string& path);
// The endings of those files as a chooser's filter, all in one row.
inline constexpr const char* kStillFilter =
    "Pictures|*.zzg;*.bmp;*.tif;*.tiff;*.png;*.jpg;*.jpeg;*.gif;*.webp;*.pgm;*.ppm;*.pnm;*.jp2";

// Whether the image buffer's own load shows this file as it is meant: `.zzg`, plain bitmaps, and TIFF files
// of one page with 8 bits of grey.
bool loadsAsItStands(const std::string& path);

// Pages of a TIFF file; 1 for any other file, 0 for a TIFF file that can't be read.
int32_t stillPages(const std::string& path);
// Decodes a page (from 0) into the image. On failure the image is as it was, and the words name the file and
// tell why. Pictures of more than kMostImportedPixels are refused. What a damaged file still shows comes with
// words in flaw, an empty text until then; without a place for them it is refused. So does the first of
// several images in a file of another kind than TIFF, which is not refused.
Outcome importStill(const std::string& path, int32_t page, CZZimage& image, std::string* flaw = nullptr);

// What a file tells of the size of its pixels.
ToldScale stillScale(const std::string& path, int32_t page);

// Whether a TIFF file holds several pages of one size and kind, one after the other as a sequence does.
bool holdsStills(const std::string& path);
// Those pages, read one at a time. Null for any other file; why is then empty unless it can't be read.
std::unique_ptr<StillSequence> openStills(const std::string& path, std::string& why);

inline constexpr int64_t kMostImportedPixels = 200'000'000;

}  // namespace tarnvisor
