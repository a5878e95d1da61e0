// Stills through FFmpeg. The file is read here and handed over as bytes, so that a name can never be taken
// for an address or a pattern, and only demuxers of single pictures may look at it.
extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <span>

#include "base/files.h"
#include "ffmpeg/ffmpeghandles.h"
#include "image/decodedstill.h"
#include "image/jpegcheck.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

constexpr uint64_t kLargestFile = uint64_t{1} << 30;
constexpr const char* kSinglePictures =
    "png_pipe,jpeg_pipe,bmp_pipe,webp_pipe,gif,gif_pipe,pgm_pipe,ppm_pipe,pam_pipe,pbm_pipe,j2k_pipe";

struct Bytes {
  std::vector<uint8_t> all;
  size_t at = 0;

  static int read(void* self, uint8_t* target, int wanted) {
    auto& bytes = *static_cast<Bytes*>(self);
    const size_t left = bytes.all.size() - bytes.at;
    if (left == 0) return AVERROR_EOF;
    const size_t count = std::min(left, static_cast<size_t>(wanted));
    std::memcpy(target, bytes.all.data() + bytes.at, count);
    bytes.at += count;
    return static_cast<int>(count);
  }
  static int64_t seek(void* self, int64_t offset, int whence) {
    auto& bytes = *static_cast<Bytes*>(self);
    const auto size = static_cast<int64_t>(bytes.all.size());
    if (whence & AVSEEK_SIZE) return size;
    const int64_t wanted = whence == SEEK_SET   ? offset
                           : whence == SEEK_CUR ? static_cast<int64_t>(bytes.at) + offset
                                                : size + offset;
    if (wanted < 0 || wanted > size) return -1;
    bytes.at = static_cast<size_t>(wanted);
    return wanted;
  }
};

// False also where a picture is larger than that: it is not decoded even to learn its kind.
bool findStreams(AVFormatContext& format, int64_t most) {
  std::vector<AVDictionary*> options(format.nb_streams, nullptr);
  for (AVDictionary*& each : options) av_dict_set_int(&each, "max_pixels", most, 0);
  const bool found = avformat_find_stream_info(&format, options.data()) >= 0;
  for (AVDictionary*& each : options) av_dict_free(&each);
  return found;
}

// The first picture of the best video stream, and how many follow it in a moving GIF (what else holds more
// than one has small or other forms of the first); null when there is none.
// strict: null also where a part of it is damaged.
Frame firstFrame(AVFormatContext& format, int64_t most, bool strict, int32_t& further) {
  const AVCodec* decoder = nullptr;
  const int stream = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
  if (stream < 0 || !decoder) return nullptr;
  const Codec codec(avcodec_alloc_context3(decoder));
  const AVCodecParameters& told = *format.streams[stream]->codecpar;
  if (!codec || avcodec_parameters_to_context(codec.get(), &told) < 0) return nullptr;
  codec->max_pixels = most;
  codec->thread_count = 1;
  if (strict) codec->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
  if (avcodec_open2(codec.get(), decoder, nullptr) < 0) return nullptr;
  const Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  bool draining = false;
  while (packet && frame) {
    if (!draining && av_read_frame(&format, packet.get()) < 0) draining = true;
    if (draining)
      avcodec_send_packet(codec.get(), nullptr);
    else if (packet->stream_index == stream)
      avcodec_send_packet(codec.get(), packet.get());
    if (!draining) av_packet_unref(packet.get());
    const int got = avcodec_receive_frame(codec.get(), frame.get());
    const bool isDamaged = frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0;
    if (got == 0) {
      further = 0;
      while (told.codec_id == AV_CODEC_ID_GIF && av_read_frame(&format, packet.get()) >= 0) {
        further += packet->stream_index == stream ? 1 : 0;
        av_packet_unref(packet.get());
      }
      return strict && isDamaged ? nullptr : std::move(frame);
    }
    if (got != AVERROR(EAGAIN) || draining) return nullptr;
  }
  return nullptr;
}

bool isGrey(const AVPixFmtDescriptor& d) {
  return d.nb_components <= 2 &&
         !(d.flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_RGB));
}

// A palette whose entries in use are all grey is a grey picture.
void dropColourOfGrey(DecodedStill& still) {
  for (size_t i = 0; i < still.samples.size(); i += 3)
    if (still.samples[i] != still.samples[i + 1] || still.samples[i] != still.samples[i + 2]) return;
  for (size_t i = 0; i < still.samples.size() / 3; ++i) still.samples[i] = still.samples[i * 3];
  still.samples.resize(still.samples.size() / 3);
  still.channels = 1;
}

bool convert(const AVFrame& frame, DecodedStill& still) {
  const auto source = static_cast<AVPixelFormat>(frame.format);
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(source);
  if (!d || !isPossibleStill(frame.width, frame.height)) return false;
  const bool grey = isGrey(*d), wide = d->comp[0].depth > 8;
  const AVPixelFormat target =
      grey ? (wide ? AV_PIX_FMT_GRAY16 : AV_PIX_FMT_GRAY8) : (wide ? AV_PIX_FMT_BGR48 : AV_PIX_FMT_BGR24);
  still.width = frame.width;
  still.height = frame.height;
  still.channels = grey ? 1 : 3;
  const size_t rowSamples = static_cast<size_t>(frame.width) * static_cast<size_t>(still.channels);
  const size_t count = rowSamples * static_cast<size_t>(frame.height);
  uint8_t* first = nullptr;
  if (wide) {
    still.wide.resize(count);
    first = reinterpret_cast<uint8_t*>(still.wide.data());
  } else {
    still.samples.resize(count);
    first = still.samples.data();
  }
  uint8_t* const planes[] = {first, nullptr, nullptr, nullptr};
  const int strides[] = {static_cast<int>(rowSamples * (wide ? 2 : 1)), 0, 0, 0};
  if (source == target) {
    av_image_copy(const_cast<uint8_t**>(planes), const_cast<int*>(strides),
                  const_cast<const uint8_t**>(frame.data), frame.linesize, source, frame.width, frame.height);
    return true;
  }
  const Scaler scaler(sws_getContext(frame.width, frame.height, source, frame.width, frame.height, target,
                                     SWS_BICUBIC | SWS_FULL_CHR_H_INT | SWS_ACCURATE_RND, nullptr, nullptr,
                                     nullptr));
  if (!scaler ||
      sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) != frame.height)
    return false;
  if (d->flags & AV_PIX_FMT_FLAG_PAL) dropColourOfGrey(still);
  return true;
}

// The words of what is wrong in why.
Frame pictureIn(Bytes& bytes, bool strict, int32_t& further, std::string& why) {
  bytes.at = 0;
  const BytesContext context = bytesContext(&bytes, &Bytes::read, &Bytes::seek);
  why = "there is not enough memory.";
  if (!context) return nullptr;
  const Format format = openFormat(*context, kSinglePictures);
  const int64_t most = mostPixels(bytes.all.size());
  why = "it is no picture of a known kind.";
  if (!format || !findStreams(*format, most)) return nullptr;
  why = "it is damaged or too large.";
  return firstFrame(*format, most, strict, further);
}

bool isJpeg(const std::vector<uint8_t>& bytes) {
  return bytes.size() > 2 && bytes[0] == 0xff && bytes[1] == 0xd8;
}

}  // namespace

std::string decodeStill(const std::string& path, DecodedStill& still) {
  av_log_set_level(AV_LOG_QUIET);
  auto whole = readWholeFile(path, kLargestFile);
  if (!whole) return "it can't be opened.";
  Bytes bytes{std::move(*whole)};
  std::string why;
  Frame frame = pictureIn(bytes, true, still.further, why);
  still.isDamaged = !frame || (isJpeg(bytes.all) && isDamagedJpeg(bytes.all));
  if (!frame) frame = pictureIn(bytes, false, still.further, why);
  if (!frame) return why;
  return convert(*frame, still) ? "" : "its kind of pixels is not known.";
}

}  // namespace tarnvisor
