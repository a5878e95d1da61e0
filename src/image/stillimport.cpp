#include "image/stillimport.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/bytes.h"
#include "base/files.h"
#include "base/text.h"
#include "image/decodedstill.h"
#include "image/imagefile.h"
#include "image/tiffbound.h"

namespace tarnvisor {

namespace {

constexpr const char* kEndings[] = {"zzg", "bmp",  "tif", "tiff", "png", "jpg", "jpeg",
                                    "gif", "webp", "pgm", "ppm",  "pnm", "jp2"};

// The first bytes of a file; what it lacks is 0.
template <size_t N>
std::array<uint8_t, N> headOf(const std::string& path) {
  std::array<uint8_t, N> head{};
  if (std::FILE* file = std::fopen(path.c_str(), "rbe")) {
    if (std::fread(head.data(), 1, N, file) < N) head = {};
    std::fclose(file);
  }
  return head;
}

// By its first bytes, whatever it is called: the plain and the big kind, in either order of bytes.
bool isTiff(const std::string& path) {
  const auto head = headOf<4>(path);
  const bool little = head[0] == 'I' && head[1] == 'I' && (head[2] == 42 || head[2] == 43) && head[3] == 0;
  return little || (head[0] == 'M' && head[1] == 'M' && head[2] == 0 && (head[3] == 42 || head[3] == 43));
}

// Pixels of whole bytes a colour without compression, which is what the image buffer reads as they are meant,
// behind a header of its kind.
bool isPlainBitmap(const std::string& path) {
  constexpr uint32_t kOldHeader = 12;
  const auto head = headOf<34>(path);
  const auto bits = getLittle<uint16_t>(head.data() + 28);
  return getLittle<uint32_t>(head.data() + 14) != kOldHeader && (bits == 8 || bits == 24 || bits == 32) &&
         getLittle<uint32_t>(head.data() + 30) == 0;
}

}  // namespace

bool isStillFile(const std::string& path) {
  const std::string ending = extensionOf(path);
  return std::any_of(std::begin(kEndings), std::end(kEndings),
                     [&](const char* known) { return equalIgnoringCase(ending, known); });
}

bool loadsAsItStands(const std::string& path) {
  const ImageFormat* format = imageFormatOf(path);
  if (!format || !format->load) return false;
  if (format->load == loadTiff) return isPlainGreyTiff(path);
  return endsWithIgnoringCase(path, ".bmp") ? isPlainBitmap(path) : true;
}

int32_t stillPages(const std::string& path) { return isTiff(path) ? tiffPages(path) : 1; }

Outcome importStill(const std::string& path, int32_t page, CZZimage& image, std::string* flaw) {
  if (!fileExists(path)) return Outcome::failure(path + " does not exist.");
  DecodedStill still;
  try {
    const std::string problem = isTiff(path) ? decodeTiff(path, page, still) : decodeStill(path, still);
    if (!problem.empty()) return Outcome::failure(path + " can't be read: " + problem);
    if (still.isDamaged && !flaw) return Outcome::failure(path + " can't be read: it is damaged.");
    if (flaw && still.isDamaged)
      *flaw = kDamagedPicture;
    else if (flaw && still.further > 0)
      *flaw = format("It holds %i images; only the first is shown.", still.further + 1);
    LevelRange range;
    range.include(still.wide);
    if (makeImage(still, range, image)) return Outcome::success();
  } catch (const std::bad_alloc&) {
  }
  return Outcome::failure(path + " can't be read: there is not enough memory.");
}

ToldScale stillScale(const std::string& path, int32_t page) {
  return isTiff(path) ? tiffScale(path, page) : ToldScale();
}

std::unique_ptr<StillSequence> openStills(const std::string& path, std::string& why) {
  why.clear();
  return isTiff(path) ? openTiffSequence(path, why) : nullptr;
}

bool holdsStills(const std::string& path) { return isTiff(path) && isTiffSequence(path); }

}  // namespace tarnvisor
