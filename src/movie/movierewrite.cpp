#include "movie/movierewrite.h"

#include <algorithm>
#include <climits>

#include "base/text.h"

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

std::unique_ptr<CZZimage> scratch() { return std::make_unique<CZZimage>(); }

}  // namespace

std::unique_ptr<CZZimage> formLike(const CZZimage& frame, int32_t interlace, int32_t rows) {
  auto form = scratch();
  takeForm(*form, frame, interlace, rows);
  return form;
}

RewritePlan mergedFields(CZZMovie& movie) {
  const CZZimage& frame = movie.form();
  if (!movie.isFieldMovie() || frame.height > INT32_MAX / 4) return {};
  return rewritePlan(formLike(frame, 0, frame.height * 2), movie.count / 2,
                     [&movie, first = scratch(), second = scratch()](int32_t k, CZZimage& made) {
                       movie.getImage(2 * k, *first);
                       movie.getImage(2 * k + 1, *second);
                       made.colourset = movie.form().colourset;
                       return made.merge(*first, *second);
                     });
}

int32_t imagesOnOddRows(CZZMovie& movie) {
  int32_t odd = 0;
  for (int32_t i = 0; i < movie.count; ++i) {
    const FrameRecord& record = movie.recordOf(i);
    odd += record.isKnown() && record.yOrigin % 2 != 0;
  }
  return odd;
}

RewritePlan splitFrames(CZZMovie& movie) {
  const CZZimage& frame = movie.form();
  if (movie.isFieldMovie() || frame.height < 2 || movie.count > INT32_MAX / 2) return {};
  return rewritePlan(formLike(frame, 1, frame.height / 2), movie.count * 2,
                     [&movie, whole = scratch(), second = scratch()](int32_t k, CZZimage& made) {
                       if (k % 2) return made.copyImage(*second);
                       movie.getImage(k / 2, *whole);
                       made.colourset = second->colourset = movie.form().colourset;
                       return whole->split(made, *second);
                     });
}

RewritePlan keptFrames(CZZMovie& movie, int32_t first, int32_t last) {
  const CZZMovie::Range range = movie.clamped(first, last);
  return rewritePlan(formLike(movie.form()), range.size(), [&movie, range](int32_t k, CZZimage& made) {
    movie.getImage(range.first + k, made);
    return true;
  });
}

RewritePlan remainingFrames(CZZMovie& movie, int32_t first, int32_t last) {
  const CZZMovie::Range range = movie.clamped(first, last);
  return rewritePlan(formLike(movie.form()), movie.count - range.size(),
                     [&movie, range](int32_t k, CZZimage& made) {
                       movie.getImage(k < range.first ? k : k + range.size(), made);
                       return true;
                     });
}

RewritePlan greyFrames(CZZMovie& movie) {
  const CZZimage& frame = movie.form();
  if (frame.colourset == kGrey) return {};
  auto form = scratch();
  form->interlace = frame.interlace;
  form->resizedata(frame.width, frame.height, 1);
  return rewritePlan(std::move(form), movie.count, [&movie](int32_t k, CZZimage& made) {
    movie.getImage(k, made);
    return made.convertToGrey();
  });
}

RewritePlan framesOfPlanes(CZZMovie& movie, int32_t first, int32_t last) {
  const CZZimage& frame = movie.form();
  if (frame.bytesPerPixel != 1 || frame.height < 3 || frame.width > INT32_MAX / 9) return {};
  const CZZMovie::Range range = movie.clamped(first, last);
  auto form = scratch();
  form->interlace = frame.interlace;
  form->colourset = kColour;
  form->resizedata(frame.width, frame.height / 3, 3);
  return rewritePlan(std::move(form), range.size(),
                     [&movie, range, planes = scratch()](int32_t k, CZZimage& made) {
                       movie.getImage(range.first + k, *planes);
                       const Point origin{planes->xOrigin, planes->yOrigin};
                       const int32_t width = planes->width, rows = planes->height / 3;
                       planes->planesToColour();
                       made.colourset = kColour;
                       if (!made.resizedata(width, rows, 3)) return false;
                       for (int32_t y = 0; y < rows; ++y)
                         std::copy_n(planes->row(y), made.rowBytes, made.row(y));
                       made.frameNumber = planes->frameNumber;
                       made.interlace = planes->interlace;
                       made.xOrigin = origin.x;
                       made.yOrigin = origin.y;
                       return true;
                     });
}

RewritePlan appendedFrames(CZZMovie& movie, CZZMovie& other, std::unique_ptr<CZZMovie> owned) {
  if (!movie.whyNotAppended(other).empty() || movie.count > INT32_MAX - other.count) return {};
  return rewritePlan(formLike(movie.form()), movie.count + other.count,
                     [&movie, &other, count = movie.count, kept = std::move(owned), from = scratch()](
                         int32_t k, CZZimage& made) {
                       if (k < count) {
                         movie.getImage(k, made);
                         return true;
                       }
                       other.getImage(k - count, *from);
                       const CZZimage& mine = movie.form();
                       if (from->colourset == mine.colourset) return made.copyImage(*from);
                       takeForm(made, mine, from->interlace, mine.height);  // grey among colour
                       made.frameNumber = from->frameNumber;
                       made.xOrigin = from->xOrigin;
                       made.yOrigin = from->yOrigin;
                       return made.copyPixels(*from);
                     });
}

// --- the work

MovieRewrite::MovieRewrite(CZZMovie& rewritten, const std::string& name, RewritePlan how)
    : plan(std::move(how)), pass(rewritten, plan.frames) {
  opened = plan.maker && plan.frames > 0 && pass.openBeside(name, *plan.form);
}

bool MovieRewrite::next() {
  if (!opened || refused || !pass.next()) return false;
  refused = !plan.maker->make(pass.step(), made);
  if (refused || !pass.put(made)) return false;  // finish() tells
  ++written;
  return true;
}

bool MovieRewrite::finish() {
  if (refused) pass.abandon();
  return opened && !refused && pass.finish();
}

// --- the movie's operations of that kind, to their end

bool CZZMovie::rewrite(const std::string& name, RewritePlan plan) {
  forgetFailure();
  MovieRewrite work(*this, name, std::move(plan));
  while (work.next()) {
  }
  return work.finish();
}

bool CZZMovie::mergeFields(const std::string& name) { return rewrite(name, mergedFields(*this)); }
bool CZZMovie::splitFrames(const std::string& name) { return rewrite(name, tarnvisor::splitFrames(*this)); }
bool CZZMovie::keepFrames(const std::string& name, int32_t first, int32_t last) {
  return rewrite(name, keptFrames(*this, first, last));
}
bool CZZMovie::deleteFrames(const std::string& name, int32_t first, int32_t last) {
  return rewrite(name, remainingFrames(*this, first, last));
}
bool CZZMovie::convertToGrey(const std::string& name) { return rewrite(name, greyFrames(*this)); }
bool CZZMovie::planesToColour(const std::string& name, int32_t first, int32_t last) {
  return rewrite(name, framesOfPlanes(*this, first, last));
}

bool CZZMovie::append(CZZMovie& other, const std::string& name) {
  const std::string unfit = whyNotAppended(other);
  const bool done = rewrite(name, appendedFrames(*this, other));
  if (!unfit.empty()) trouble = unfit;
  return done;
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

}  // namespace tarnvisor
