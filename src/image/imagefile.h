// Still-image files: the formats by extension, and the entry points that work on open files and on memory.
// docs/formats tells the bytes. Loads believe nothing: sizes are held against the bytes that are there before
// memory is taken, and a refused file leaves the image as it was. Saves replace a file in one step.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include "base/geometry.h"
#include "base/lengthunits.h"
#include "base/outcome.h"
#include "image/zzimage.h"

namespace tarnvisor {

// What a format does; null where it doesn't.
struct ImageFormat {
  const char* extension;
  // Where a refusal, or the want of pixels in a file that was loaded, has words of its own they come in why.
  bool (*load)(CZZimage& image, const std::string& path, std::string& why);
  bool (*loadRegion)(CZZimage& image, const std::string& path, const Rect& rect);
  Outcome (*save)(CZZimage& image, const std::string& path, const Rect& rect);
  // Why a load doesn't give back what was saved of this image, `part` of it in its own pixels; null when it
  // does.
  const char* (*flaw)(const CZZimage& image, const Rect& part);
};
// By the text after the last ".", compared exactly; null when it names no format.
const ImageFormat* imageFormatOf(const std::string& path);
// Why a file of this name would not give back all that a rectangle of the image shows, as words that go on
// after the ending's name: "does not keep fields". Empty when it does. `.zzg` always does.
std::string formatFlaw(const std::string& path, const CZZimage& image, const Rect& rect = {});

// The picture as it is seen: of a mosaic the colours, of a field each row twice. False without memory.
[[nodiscard]] bool makeShown(const CZZimage& image, CZZimage& shown);
// Writes a picture as other programs read it, which a document's own pixel file need not be: rows where the
// format has them, colours in colour, a mosaic in its colours, a field in the frame's height. By the ending,
// in any case: bmp, tif, tiff; or zzg, which is this system's own and keeps everything.
// A tif tells the size of its pixels where that is known.
[[nodiscard]] Outcome exportStill(const CZZimage& image, const std::string& path, PixelSize pixel = {});

// The numbers at the start of a .zzg file, in any of its three forms.
struct ZzgHeader {
  static constexpr int32_t kBytes = 36;  // of the form that is written

  int32_t fileBytes = 0;  // of the header in its form: 16, 32 or 36
  int32_t frameNumber = -1, interlace = 0, width = 0, height = 0, xOrigin = 0, yOrigin = 0, colourset = 0;

  int32_t bytesPerPixel() const { return colourset == kColour ? 3 : 1; }
};
// Of the bytes of a header in any form; those of the whole .zzg that it tells of, or 0 when this is no
// header.
int64_t parseHeader(std::span<const uint8_t> bytes, ZzgHeader& header);
ZzgHeader headerOf(const CZZimage& image);
void putHeader(uint8_t* to, const ZzgHeader& header);  // kBytes of them
// Reads from the file's position. The bytes that the whole file should have, or 0 when this is no header.
int64_t readHeader(std::FILE* file, ZzgHeader& header);
bool isImageFile(std::FILE* file);
// A .zzg of one field of a frame (field 1 or 2); a field image, or field 0, is written with all its rows.
[[nodiscard]] bool writeField(std::FILE* file, const CZZimage& image, int32_t field);

[[nodiscard]] bool loadZzg(CZZimage& image, const std::string& path, std::string& why);
bool loadZzgRegion(CZZimage& image, const std::string& path, const Rect& rect);
[[nodiscard]] Outcome saveZzg(CZZimage& image, const std::string& path, const Rect& rect);

// The bytes of a bitmap file from its information header on, as a clipboard gives them. asGrey makes colours
// grey with weights that don't fall on the bytes that their names suggest: it has always been so.
[[nodiscard]] bool loadBitmapBytes(CZZimage& image, std::span<const uint8_t> bytes, bool asGrey);
[[nodiscard]] bool loadBmp(CZZimage& image, const std::string& path, std::string& why);
[[nodiscard]] Outcome saveBmp(CZZimage& image, const std::string& path, const Rect& rect);
const char* bmpFlaw(const CZZimage& image, const Rect& part);
// Of a grey or colour frame.
[[nodiscard]] Outcome exportBmp(CZZimage& image, const std::string& path);

[[nodiscard]] bool loadTiff(CZZimage& image, const std::string& path, std::string& why);
[[nodiscard]] Outcome saveTiff(CZZimage& image, const std::string& path,
                               const Rect& rect);  // the rectangle is ignored
const char* tiffFlaw(const CZZimage& image, const Rect& part);
[[nodiscard]] Outcome exportTiff(CZZimage& image, const std::string& path,
                                 PixelSize pixel);  // of a grey or colour frame

// Memory that a load may take beyond the size of its file.
inline constexpr int64_t kLoadAllowance = int64_t{64} << 20;

}  // namespace tarnvisor
