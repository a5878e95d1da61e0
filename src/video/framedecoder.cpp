#include "framedecoder.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <thread>

#include "pictureparser.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

// Kept pictures are memory that the decoder can't use again, so more than the least is taken for long groups
// only.
constexpr int64_t kLeastKeptBytes = int64_t{64} << 20;
constexpr int64_t kMostKeptBytes = int64_t{256} << 20;
constexpr unsigned kMostThreads = 8;
constexpr int32_t kMostReordered = 17;  // pictures that a decoder may hold back, its threads' apart
constexpr int kEarlierStarts = 3;       // groups to go back when a picture needs more than its own

int64_t bytesOf(const AVFrame& frame) {
  const int bytes =
      av_image_get_buffer_size(static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, 16);
  return std::max(bytes, 1);
}

}  // namespace

bool FrameDecoder::open(const AVCodecParameters& told, int32_t width, int32_t height, Damage damage) {
  strict = damage == Damage::Refused;
  const AVCodec* decoder = avcodec_find_decoder(told.codec_id);
  if (!decoder || !packet || !received) return false;
  codec.reset(avcodec_alloc_context3(decoder));
  if (!codec || avcodec_parameters_to_context(codec.get(), &told) < 0) return false;
  // Frames of another size are refused, so that there is no need for memory for larger ones; there is room
  // for whole blocks.
  codec->max_pixels = (int64_t{width} + 512) * (int64_t{height} + 512);
  codec->thread_count = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMostThreads));
  codec->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
  // Decoders of whole pictures have no other way to tell of damage.
  const AVCodecDescriptor* kind = avcodec_descriptor_get(told.codec_id);
  codec->err_recognition = AV_EF_CRCCHECK;
  if (strict && kind && kind->props & AV_CODEC_PROP_INTRA_ONLY) codec->err_recognition |= AV_EF_EXPLODE;
  if (avcodec_open2(codec.get(), decoder, nullptr) < 0) return false;
  frameWidth = width;
  frameHeight = height;
  filter = unpackingFilter(told);
  sums = SliceSums(told);
  keeps = told.codec_id != AV_CODEC_ID_RAWVIDEO;  // reading those again is as quick
  undecodable.assign(index.packets.size(), false);
  damaged.clear();
  inside.clear();
  startedAt = -1;
  return true;
}

void FrameDecoder::takeSizeOf(int32_t number) {
  takesSize = true;
  frameOf(number);
  takesSize = false;
}

const AVFrame* FrameDecoder::frameOf(int32_t wanted) {
  if (const auto found = kept.find(wanted); found != kept.end()) return found->second.get();
  wantedFrame.reset();
  int32_t key = index.keyFor(wanted);
  for (int tries = 0; tries <= kEarlierStarts && key >= 0 && !isSpoiled(wanted);
       ++tries, key = index.keyBefore(key))
    if (search(wanted, key)) return wantedFrame.get();
  undecodable[static_cast<size_t>(wanted)] = true;
  return nullptr;
}

// Whether the picture is damaged or builds on one that is.
bool FrameDecoder::isSpoiled(int32_t number) const {
  if (undecodable[static_cast<size_t>(number)]) return true;
  if (damaged.empty()) return false;
  const auto first = damaged.lower_bound(index.keyFor(number));
  return first != damaged.end() && *first <= number;
}

// Pictures come out in the order of showing: those of the decoder's errors are passed over. Whether there are
// such.
bool FrameDecoder::noteLost(int32_t before) {
  bool any = false;
  for (const int32_t each : inside) {
    if (!index.isShownBefore(each, before) || (lastOut >= 0 && !index.isShownBefore(lastOut, each))) continue;
    any = true;
    if (startedAt <= index.keyFor(each)) damaged.insert(each);
  }
  return any;
}

// Whether a picture that came out is the one that was stored. One that needs more than what was fed since the
// start may be so after an earlier start.
bool FrameDecoder::isSound(int32_t number, const AVFrame& picture) {
  if (!strict) return true;
  const bool toldOf = picture.flags & AV_FRAME_FLAG_CORRUPT || picture.decode_error_flags;
  const bool own = picture.decode_error_flags & ~FF_DECODE_ERROR_MISSING_REFERENCE;
  if (own && startedAt <= index.keyFor(number)) {
    undecodable[static_cast<size_t>(number)] = true;
    if (picture.pict_type != AV_PICTURE_TYPE_B) damaged.insert(number);
  }
  return !toldOf && !isSpoiled(number);
}

// Whether feeding on gives the picture with no more work than starting at its key.
bool FrameDecoder::leadsTo(int32_t wanted, int32_t key) const {
  if (startedAt < 0 || startedAt > key) return false;
  if (wanted < next) return inside.count(wanted) > 0;
  const int32_t slack = keeps ? codec->thread_count : 0;
  return !ended && key <= next + slack;
}

void FrameDecoder::restart(int32_t key) {
  avcodec_flush_buffers(codec.get());
  if (filter) av_bsf_flush(filter.get());
  inside.clear();
  wentBack = wentBack || key < next;
  startedAt = next = key;
  lastOut = -1;
  ended = erred = false;
}

void FrameDecoder::feedNext() {
  if (next >= static_cast<int32_t>(index.packets.size())) {
    avcodec_send_packet(codec.get(), nullptr);
    ended = true;
    return;
  }
  const int32_t number = next++;
  if (!source.read(number, *packet)) {
    damaged.insert(number);
    return;
  }
  if (strict && (packet->flags & AV_PKT_FLAG_CORRUPT || !sums.fit(*packet))) damaged.insert(number);
  if (!unpack(filter.get(), *packet)) return;
  packet->pts = packet->dts = number;
  packet->duration = 0;
  if (packet->size > 0) {
    // An error may be that of a packet before it.
    erred = avcodec_send_packet(codec.get(), packet.get()) < 0 || erred;
    inside.insert(number);
  }
  av_packet_unref(packet.get());
}

void FrameDecoder::keep(int32_t number, Frame picture) {
  const int64_t most = std::clamp(bytesOf(*picture) * index.longestGroup(), kLeastKeptBytes, kMostKeptBytes);
  keptBytes += bytesOf(*picture);
  kept[number] = std::move(picture);
  keptOrder.push_back(number);
  while (keptBytes > most && keptOrder.size() > 1) {
    const auto oldest = kept.find(keptOrder.front());
    keptBytes -= bytesOf(*oldest->second);
    kept.erase(oldest);
    keptOrder.pop_front();
  }
}

// Takes what has come out. True when the wanted picture is among it.
bool FrameDecoder::receive(int32_t wanted) {
  int got;
  while ((got = avcodec_receive_frame(codec.get(), received.get())) >= 0) {
    const int64_t number = received->pts;
    if (std::exchange(takesSize, false)) {
      frameWidth = received->width;
      frameHeight = received->height;
    }
    const bool fits = received->width == frameWidth && received->height == frameHeight;
    if (number < startedAt || number >= next || !fits) {
      av_frame_unref(received.get());
      continue;
    }
    const auto own = static_cast<int32_t>(number);
    inside.erase(own);
    if (strict && erred) erred = !noteLost(own);
    lastOut = own;
    if (!isSound(own, *received)) {
      av_frame_unref(received.get());
      if (own == wanted) return false;
      continue;
    }
    Frame picture(av_frame_alloc());
    if (!picture) return false;
    av_frame_move_ref(picture.get(), received.get());
    if (own == wanted) wantedFrame.reset(av_frame_clone(picture.get()));
    if (keeps && kept.count(own) == 0) keep(own, std::move(picture));
    if (own == wanted && wantedFrame) return true;
  }
  erred = erred || (got != AVERROR(EAGAIN) && got != AVERROR_EOF);
  return false;
}

bool FrameDecoder::search(int32_t wanted, int32_t key) {
  if (!leadsTo(wanted, key)) restart(key);
  const int64_t last = int64_t{wanted} + kMostReordered + codec->thread_count;
  for (;;) {
    if (receive(wanted)) return true;
    if (ended || next > last || isSpoiled(wanted)) return false;
    feedNext();
  }
}

}  // namespace tarnvisor
