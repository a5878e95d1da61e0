#include "slicesums.h"

extern "C" {
#include <libavutil/crc.h>
}

namespace tarnvisor {

namespace {

// Behind a slice: its length in three bytes, the highest first, a byte that is 0, and the sum.
constexpr int kTrailer = 8;

}  // namespace

// Only forms with a global header know sums.
SliceSums::SliceSums(const AVCodecParameters& codec)
    : possible(codec.codec_id == AV_CODEC_ID_FFV1 && codec.extradata_size > 0) {}

bool SliceSums::fit(const AVPacket& packet) {
  if (!possible || packet.size == 0) return true;
  const AVCRC* table = av_crc_get_table(AV_CRC_32_IEEE);
  bool chained = true, right = true;
  for (int end = packet.size; end > 0;) {
    const uint8_t* trailer = packet.data + std::max(0, end - kTrailer);
    const int length = (trailer[0] << 16 | trailer[1] << 8 | trailer[2]) + kTrailer;
    chained = end >= length && trailer[3] == 0;
    if (!chained) break;
    end -= length;
    right = right && av_crc(table, 0, packet.data + end, static_cast<size_t>(length)) == 0;
  }
  const bool fits = chained && right;
  seen = seen || fits;
  return fits || !seen;
}

}  // namespace tarnvisor
