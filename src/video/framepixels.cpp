#include "framepixels.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bytes.h"
#include "image/palette.h"

namespace tarnvisor {

namespace {

using Levels = std::array<uint8_t, 256>;

AVPixelFormat formOf(const AVFrame& frame) { return static_cast<AVPixelFormat>(frame.format); }

bool isFullRange(const AVFrame& frame) {
  switch (formOf(frame)) {
    case AV_PIX_FMT_YUVJ411P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
      return true;
    default:
      return frame.color_range == AVCOL_RANGE_JPEG;
  }
}

bool isGreyForm(const AVPixFmtDescriptor& d) {
  constexpr uint64_t other = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_RGB |
                             AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL;
  return d.nb_components == 1 && !(d.flags & other) && d.comp[0].depth >= 8 && d.comp[0].depth <= 16;
}

bool allAre128(const uint8_t* row, size_t count) {
  constexpr size_t block = 64;
  for (; count >= block; count -= block, row += block) {
    uint8_t different = 0;
    for (size_t i = 0; i < block; ++i) different |= row[i] ^ 128;
    if (different) return false;
  }
  return std::all_of(row, row + count, [](uint8_t v) { return v == 128; });
}

// Brightness in a plane of its own and no colour in the others.
bool isUncolouredLuma(const AVFrame& frame, const AVPixFmtDescriptor& d) {
  if (!(d.flags & AV_PIX_FMT_FLAG_PLANAR) || d.flags & AV_PIX_FMT_FLAG_RGB || d.nb_components < 3)
    return false;
  if (d.comp[0].depth != 8 || d.comp[0].step != 1 || d.comp[0].plane != 0) return false;
  const int planes = d.comp[2].plane;
  const int width = AV_CEIL_RSHIFT(frame.width, d.log2_chroma_w) * d.comp[1].step;
  const int height = AV_CEIL_RSHIFT(frame.height, d.log2_chroma_h);
  for (int plane = 1; plane <= planes; ++plane)
    for (int y = 0; y < height; ++y)
      if (!allAre128(frame.data[plane] + ptrdiff_t{y} * frame.linesize[plane], static_cast<size_t>(width)))
        return false;
  return true;
}

Levels spreadLevels() {
  Levels levels;
  for (int v = 0; v < 256; ++v)
    levels[static_cast<size_t>(v)] = static_cast<uint8_t>(std::clamp(((v - 16) * 255 + 109) / 219, 0, 255));
  return levels;
}

void copyRows(const AVFrame& frame, uint8_t* target, int32_t stride, const Levels* levels) {
  for (int y = 0; y < frame.height; ++y, target += stride) {
    const uint8_t* from = frame.data[0] + ptrdiff_t{y} * frame.linesize[0];
    if (levels)
      std::transform(from, from + frame.width, target, [levels](uint8_t v) { return (*levels)[v]; });
    else
      std::memcpy(target, from, static_cast<size_t>(frame.width));
  }
}

// take(level, x, y), the level without the bits that its form leaves empty below.
template <class Take>
void eachDeepLevel(const AVFrame& frame, const AVPixFmtDescriptor& d, Take take) {
  const int shift = d.comp[0].shift;
  const bool bigEndian = d.flags & AV_PIX_FMT_FLAG_BE;
  for (int y = 0; y < frame.height; ++y) {
    const uint8_t* from = frame.data[0] + ptrdiff_t{y} * frame.linesize[0];
    for (int x = 0; x < frame.width; ++x, from += 2)
      take((bigEndian ? from[0] << 8 | from[1] : from[1] << 8 | from[0]) >> shift, x, y);
  }
}

using Entries = std::array<uint8_t, 256 * 3>;

Entries entriesOf(const AVFrame& frame) {
  Entries entries;
  for (size_t i = 0; i < 256; ++i) {
    uint32_t entry;
    std::memcpy(&entry, frame.data[1] + 4 * i, sizeof entry);
    for (size_t c = 0; c < 3; ++c) entries[3 * i + c] = static_cast<uint8_t>(entry >> (8 * c));
  }
  return entries;
}

// A palette without colour means its levels.
Levels levelsOf(const AVFrame& frame) {
  const Entries entries = entriesOf(frame);
  Levels levels;
  bool grey = true;
  for (size_t i = 0; i < 256; ++i) {
    levels[i] = entries[3 * i];
    grey = grey && entries[3 * i] == entries[3 * i + 1] && entries[3 * i] == entries[3 * i + 2];
  }
  if (!grey) greyRow(entries.data(), 3, levels.size(), levels.data());
  return levels;
}

bool isIdentity(const Levels& levels) {
  for (size_t i = 0; i < levels.size(); ++i)
    if (levels[i] != i) return false;
  return true;
}

void tripleRow(const uint8_t* grey, int32_t width, uint8_t* to) {
  for (int32_t x = 0; x < width; ++x, to += 3) to[0] = to[1] = to[2] = grey[x];
}

}  // namespace

FramePixels::Deep FramePixels::deepLevelsOf(const AVFrame& frame) {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(formOf(frame));
  if (!d || !isGreyForm(*d) || d->comp[0].depth <= 8) return {};
  Deep deep{0, d->comp[0].depth};
  eachDeepLevel(frame, *d, [&deep](int level, int, int) { deep.greatest = std::max(deep.greatest, level); });
  return deep;
}

// Levels as they are stored; false when the frame has colour or its levels take more than a look.
bool FramePixels::copyLevels(const AVFrame& frame, uint8_t* target, int32_t stride) const {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(formOf(frame));
  if (!d) return false;
  const bool luma = isUncolouredLuma(frame, *d);
  if (!luma && !isGreyForm(*d)) return false;
  if (d->comp[0].depth > 8) {
    const int drop = (depth > 0 ? depth : d->comp[0].depth) - 8;
    eachDeepLevel(frame, *d, [&](int level, int x, int y) {
      target[ptrdiff_t{y} * stride + x] = static_cast<uint8_t>(std::min(level >> drop, 255));
    });
    return true;
  }
  static const Levels spread = spreadLevels();
  copyRows(frame, target, stride, luma && !isFullRange(frame) ? &spread : nullptr);
  return true;
}

bool FramePixels::takes(AVPixelFormat form) {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(form);
  return d && (isGreyForm(*d) || form == AV_PIX_FMT_PAL8 || sws_isSupportedInput(form));
}

bool FramePixels::scale(const AVFrame& frame, uint8_t* target, int32_t stride) {
  const AVPixelFormat form = formOf(frame);
  if (!sws_isSupportedInput(form)) return false;
  const bool full = isFullRange(frame);
  if (!scaler || form != scalerForm || full != scalerFull || frame.colorspace != scalerSpace) {
    scaler.reset(sws_getContext(frame.width, frame.height, form, frame.width, frame.height, AV_PIX_FMT_BGR24,
                                SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!scaler) return false;
    scalerForm = form;
    scalerFull = full;
    scalerSpace = frame.colorspace;
    // 601 where the file is silent.
    const int* weights =
        sws_getCoefficients(scalerSpace == AVCOL_SPC_UNSPECIFIED ? SWS_CS_DEFAULT : scalerSpace);
    sws_setColorspaceDetails(scaler.get(), weights, full, weights, 1, 0, 1 << 16, 1 << 16);
  }
  uint8_t* const planes[] = {target, nullptr, nullptr, nullptr};
  const int strides[] = {stride, 0, 0, 0};
  return sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) ==
         frame.height;
}

bool FramePixels::toGrey(const AVFrame& frame, uint8_t* target, int32_t stride) {
  const AVPixelFormat form = formOf(frame);
  if (form == AV_PIX_FMT_PAL8) {
    const Levels levels = levelsOf(frame);
    copyRows(frame, target, stride, isIdentity(levels) ? nullptr : &levels);
    return true;
  }
  if (copyLevels(frame, target, stride)) return true;
  const uint8_t* from = frame.data[0];
  ptrdiff_t pitch = frame.linesize[0];
  if (form != AV_PIX_FMT_BGR24) {
    pitch = (ptrdiff_t{frame.width} * 3 + 63) / 64 * 64;
    colours.resize(static_cast<size_t>(pitch) * static_cast<size_t>(frame.height) + 64);
    if (!scale(frame, colours.data(), static_cast<int32_t>(pitch))) return false;
    from = colours.data();
  }
  weighed = true;
  for (int y = 0; y < frame.height; ++y, from += pitch, target += stride)
    greyRow(from, 3, static_cast<size_t>(frame.width), target);
  return true;
}

bool FramePixels::toColour(const AVFrame& frame, uint8_t* target, int32_t stride) {
  const AVPixelFormat form = formOf(frame);
  const auto width = static_cast<size_t>(frame.width);
  if (form == AV_PIX_FMT_PAL8) {
    const Entries entries = entriesOf(frame);
    for (int y = 0; y < frame.height; ++y, target += stride)
      for (size_t x = 0; x < width; ++x)
        std::memcpy(target + 3 * x,
                    &entries[3u * frame.data[0][ptrdiff_t{y} * frame.linesize[0] + ptrdiff_t(x)]], 3);
    return true;
  }
  colours.resize((width * 3 + 64) * static_cast<size_t>(frame.height) + 64);
  if (copyLevels(frame, colours.data(), frame.width)) {
    for (int y = 0; y < frame.height; ++y, target += stride)
      tripleRow(colours.data() + width * static_cast<size_t>(y), frame.width, target);
    return true;
  }
  const uint8_t* from = frame.data[0];
  ptrdiff_t pitch = frame.linesize[0];
  if (form != AV_PIX_FMT_BGR24) {
    pitch = static_cast<ptrdiff_t>((width * 3 + 63) / 64 * 64);
    if (!scale(frame, colours.data(), static_cast<int32_t>(pitch))) return false;
    from = colours.data();
  }
  for (int y = 0; y < frame.height; ++y, from += pitch, target += stride)
    std::memcpy(target, from, width * 3);
  return true;
}

}  // namespace tarnvisor
