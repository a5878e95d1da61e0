// Operations that make a new movie of the frames of one.
#include <algorithm>
#include <climits>

#include "base/text.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

namespace {

// Everything that frames share, without pixels of its own worth reading.
void takeForm(CZZimage& form, const CZZimage& like, int32_t interlace, int32_t rows) {
  form.colourset = like.colourset;
  form.interlace = interlace;
  form.resizedata(like.width, rows, like.bytesPerPixel);
}

std::string formWords(const CZZimage& form) {
  const char* kind = form.colourset == kColour ? "colour" : form.colourset == kBayer ? "mosaic" : "grey";
  return format("%i x %i %s %s", form.width, form.height, kind, form.isField() ? "fields" : "frames");
}

}  // namespace

bool CZZMovie::mergeFields(const std::string& name) {
  if (!isFieldMovie() || holder.height > INT32_MAX / 4) return false;
  CZZimage form, first, second;
  takeForm(form, holder, 0, holder.height * 2);
  return rewrite(name, form, count / 2, [&](int32_t k, CZZimage& made) {
    getImage(2 * k, first);
    getImage(2 * k + 1, second);
    made.colourset = holder.colourset;
    return made.merge(first, second);
  });
}

bool CZZMovie::splitFrames(const std::string& name) {
  if (isFieldMovie() || holder.height < 2 || count > INT32_MAX / 2) return false;
  CZZimage form, whole, second;
  takeForm(form, holder, 1, holder.height / 2);
  return rewrite(name, form, count * 2, [&](int32_t k, CZZimage& made) {
    if (k % 2) return made.copyImage(second);
    getImage(k / 2, whole);
    made.colourset = second.colourset = holder.colourset;
    return whole.split(made, second);
  });
}

bool CZZMovie::keepFrames(const std::string& name, int32_t first, int32_t last) {
  const Range range = clamped(first, last);
  return rewrite(name, holder, range.size(), [&](int32_t k, CZZimage& made) {
    getImage(range.first + k, made);
    return true;
  });
}

bool CZZMovie::deleteFrames(const std::string& name, int32_t first, int32_t last) {
  const Range range = clamped(first, last);
  return rewrite(name, holder, count - range.size(), [&](int32_t k, CZZimage& made) {
    getImage(k < range.first ? k : k + range.size(), made);
    return true;
  });
}

bool CZZMovie::convertToGrey(const std::string& name) {
  if (holder.colourset == kGrey) return false;
  CZZimage form;
  form.interlace = holder.interlace;
  form.resizedata(holder.width, holder.height, 1);
  return rewrite(name, form, count, [&](int32_t k, CZZimage& made) {
    getImage(k, made);
    return made.convertToGrey();
  });
}

bool CZZMovie::planesToColour(const std::string& name, int32_t first, int32_t last) {
  if (holder.bytesPerPixel != 1 || holder.height < 3 || holder.width > INT32_MAX / 9) return false;
  const Range range = clamped(first, last);
  CZZimage form, planes;
  form.interlace = holder.interlace;
  form.colourset = kColour;
  form.resizedata(holder.width, holder.height / 3, 3);
  return rewrite(name, form, range.size(), [&](int32_t k, CZZimage& made) {
    getImage(range.first + k, planes);
    const Point origin{planes.xOrigin, planes.yOrigin};
    planes.planesToColour();
    made.colourset = kColour;
    if (!made.resizedata(form.width, form.height, 3)) return false;
    for (int32_t y = 0; y < form.height; ++y) std::copy_n(planes.row(y), form.rowBytes, made.row(y));
    made.frameNumber = planes.frameNumber;
    made.interlace = planes.interlace;
    made.xOrigin = origin.x;
    made.yOrigin = origin.y;
    return true;
  });
}

std::string CZZMovie::whyNotAppended(const CZZMovie& other) const {
  const CZZimage &mine = frame, &theirs = other.frame;
  const bool sameColours =
      mine.colourset == theirs.colourset || (mine.colourset == kColour && theirs.colourset == kGrey);
  if (mine.width == theirs.width && mine.height == theirs.height && mine.isField() == theirs.isField() &&
      sameColours)
    return "";
  return "it has " + formWords(theirs) + ", and this one " + formWords(mine);
}

bool CZZMovie::append(CZZMovie& other, const std::string& name) {
  trouble = whyNotAppended(other);
  if (!trouble.empty() || count > INT32_MAX - other.count) return false;
  CZZimage from;
  return rewrite(name, holder, count + other.count, [&](int32_t k, CZZimage& made) {
    if (k < count) {
      getImage(k, made);
      return true;
    }
    other.getImage(k - count, from);
    if (from.colourset == holder.colourset) return made.copyImage(from);
    takeForm(made, holder, from.interlace, holder.height);  // grey among colour
    made.frameNumber = from.frameNumber;
    made.xOrigin = from.xOrigin;
    made.yOrigin = from.yOrigin;
    return made.copyPixels(from);
  });
}

}  // namespace tarnvisor
