#include "video/videowriter.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstring>
#include <thread>

#include "base/text.h"
#include "ffmpeg/ffmpeghandles.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

constexpr int kMostSide = 16384;
constexpr const char* kNoMemory = "There is not enough memory.";
constexpr int kPoorestH264 = 51, kPoorestJpeg = 31;

enum class Kind { Raw, H264, Lossless, Jpeg };

struct CodecRow {
  const char* code;
  const char* label;
  const char* encoder;
  Kind kind;
  AVPixelFormat grey, colour;
};
constexpr CodecRow kCodecs[] = {
    {"DIB ", "Uncompressed", "", Kind::Raw, AV_PIX_FMT_PAL8, AV_PIX_FMT_BGR24},
    {"x264", "H.264", "libx264", Kind::H264, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ420P},
    {"FFV1", "FFV1 (without loss)", "ffv1", Kind::Lossless, AV_PIX_FMT_GRAY8, AV_PIX_FMT_BGR0},
    {"MJPG", "Motion JPEG", "mjpeg", Kind::Jpeg, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ444P},
};

bool isThere(const CodecRow& row) {
  return row.kind == Kind::Raw || avcodec_find_encoder_by_name(row.encoder);
}

// The file as the muxer writes it: at once, and with the reason for the first failure.
struct OutputFile {
  int handle = -1;
  int64_t at = 0;
  int64_t end = 0;
  int error = 0;

  ~OutputFile() { close(); }
  bool close() {
    if (handle >= 0 && ::close(handle) != 0 && error == 0) error = errno;
    handle = -1;
    return error == 0;
  }
  static int write(void* self, uint8_t* bytes, int count) {
    auto& file = *static_cast<OutputFile*>(self);
    for (int done = 0; done < count && file.error == 0;) {
      const ssize_t put = ::pwrite(file.handle, bytes + done, static_cast<size_t>(count - done), file.at);
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) {
        file.error = put < 0 ? errno : ENOSPC;
        break;
      }
      done += static_cast<int>(put);
      file.at += put;
      file.end = std::max(file.end, file.at);
    }
    return file.error == 0 ? count : AVERROR(file.error);
  }
  static int64_t seek(void* self, int64_t offset, int whence) {
    auto& file = *static_cast<OutputFile*>(self);
    if (whence & AVSEEK_SIZE) return file.end;
    const int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.at : file.end;
    return base + offset < 0 ? AVERROR(EINVAL) : file.at = base + offset;
  }
};

struct FreeMuxer {
  void operator()(AVFormatContext* format) const { avformat_free_context(format); }
};

// Full-range brightness of grey pixels is their level; colour is 601's.
void toLuma(const uint8_t* from, int32_t width, uint8_t* to) {
  for (int32_t x = 0; x < width; ++x, from += 3)
    to[x] = static_cast<uint8_t>((7471 * from[0] + 38470 * from[1] + 19595 * from[2] + 32768) >> 16);
}

}  // namespace

std::vector<VideoCodec> videoCodecs() {
  std::vector<VideoCodec> codecs;
  for (const CodecRow& row : kCodecs)
    if (isThere(row)) codecs.push_back({row.code, row.label});
  return codecs;
}

struct VideoWriter::Parts {
  VideoFormat wanted;
  const CodecRow* row = nullptr;
  AVPixelFormat form = AV_PIX_FMT_NONE;
  OutputFile file;
  BytesContext context;
  std::unique_ptr<AVFormatContext, FreeMuxer> muxer;
  Codec codec;
  Scaler scaler;
  Frame frame{av_frame_alloc()};
  Packet packet{av_packet_alloc()};
  std::string why;
  int64_t taken = 0, written = 0;
  int64_t wholeEnd = 0;  // of the file after the last whole frame
  bool fileFailed = false, closed = false, whole = false;

  bool fail(const std::string& words) {
    if (why.empty()) why = words;
    return false;
  }
  bool failFile() {
    fileFailed = true;
    return fail(file.error ? tarnvisor::format("The file can't be written: %s.", std::strerror(file.error))
                           : "The file can't be written.");
  }
  bool choose();
  bool openCodec();
  void setQuality();
  bool describeStream();
  bool openFile(const std::string& path);
  bool writeRaw(const uint8_t* rows, int32_t stride);
  bool writePacket();
  bool writeWaiting();
  bool fill(const uint8_t* rows, int32_t stride);
  void fillPlain(const uint8_t* rows, int32_t stride);
  bool fillColour(const uint8_t* rows, int32_t stride);
  bool finish();
};

bool VideoWriter::Parts::choose() {
  const auto& w = wanted;
  if (w.width < 1 || w.height < 1 || w.width > kMostSide || w.height > kMostSide || w.rate < 1 || w.scale < 1)
    return fail("A video can't have this size or rate.");
  for (const CodecRow& each : kCodecs)
    if (w.codec == each.code) row = &each;
  if (!row) return fail(tarnvisor::format("No codec \"%s\" is known.", w.codec.c_str()));
  if (!isThere(*row))
    return fail(tarnvisor::format("The codec %s (\"%s\") is not installed.", row->label, row->code));
  form = w.colour ? row->colour : row->grey;
  // Colour in blocks of two by two takes even sides.
  if (form == AV_PIX_FMT_YUVJ420P && (w.width % 2 || w.height % 2)) form = AV_PIX_FMT_YUVJ444P;
  return true;
}

void VideoWriter::Parts::setQuality() {
  const int quality = wanted.quality < 0 ? 100 : std::min(wanted.quality, 100);
  if (row->kind == Kind::H264) {
    av_opt_set(codec->priv_data, "preset", "ultrafast", 0);
    av_opt_set(codec->priv_data, "tune", "zerolatency", 0);  // each frame comes out as it goes in
    av_opt_set_int(codec->priv_data, "qp", (100 - quality) * kPoorestH264 / 100, 0);
    codec->max_b_frames = 0;
    codec->slices = 2;
  }
  if (row->kind == Kind::Lossless) {
    codec->level = 3;  // the form that has check sums
    av_opt_set_int(codec->priv_data, "slicecrc", 1, 0);
  }
  if (row->kind == Kind::Jpeg) {
    codec->flags |= AV_CODEC_FLAG_QSCALE;
    codec->qmin = 1;
    codec->global_quality = FF_QP2LAMBDA * (1 + (100 - quality) * (kPoorestJpeg - 1) / 100);
    frame->quality = codec->global_quality;
  }
}

bool VideoWriter::Parts::openCodec() {
  if (row->kind == Kind::Raw) return true;
  const AVCodec* encoder = avcodec_find_encoder_by_name(row->encoder);
  codec.reset(avcodec_alloc_context3(encoder));
  if (!codec || !frame) return fail(kNoMemory);
  codec->width = wanted.width;
  codec->height = wanted.height;
  codec->pix_fmt = form;
  codec->time_base = {wanted.scale, wanted.rate};
  codec->framerate = {wanted.rate, wanted.scale};
  codec->gop_size = row->kind == Kind::H264 ? std::max(wanted.keyEvery, 1) : 1;
  codec->thread_count = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 8u));
  if (form == AV_PIX_FMT_YUVJ420P || form == AV_PIX_FMT_YUVJ444P) {
    codec->color_range = AVCOL_RANGE_JPEG;
    codec->colorspace = AVCOL_SPC_SMPTE170M;
  }
  frame->format = form;
  frame->width = wanted.width;
  frame->height = wanted.height;
  setQuality();
  if (avcodec_open2(codec.get(), encoder, nullptr) < 0)
    return fail(tarnvisor::format("The codec %s can't compress frames of this form.", row->label));
  return av_frame_get_buffer(frame.get(), 0) >= 0 || fail(kNoMemory);
}

bool VideoWriter::Parts::describeStream() {
  AVStream* stream = avformat_new_stream(muxer.get(), nullptr);
  if (!stream) return fail(kNoMemory);
  stream->time_base = {wanted.scale, wanted.rate};
  stream->avg_frame_rate = {wanted.rate, wanted.scale};
  AVCodecParameters& told = *stream->codecpar;
  if (codec) {
    if (avcodec_parameters_from_context(&told, codec.get()) < 0) return fail(kNoMemory);
    if (row->kind == Kind::H264) told.codec_tag = MKTAG('H', '2', '6', '4');
    return true;
  }
  told.codec_type = AVMEDIA_TYPE_VIDEO;
  told.codec_id = AV_CODEC_ID_RAWVIDEO;
  told.width = wanted.width;
  told.height = wanted.height;
  told.format = form;
  told.bits_per_coded_sample = wanted.colour ? 24 : 8;
  return true;
}

bool VideoWriter::Parts::openFile(const std::string& path) {
  file.handle = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file.handle < 0) return fail(tarnvisor::format("The file can't be made: %s.", std::strerror(errno)));
  context.reset(avio_alloc_context(static_cast<unsigned char*>(av_malloc(kReadBlock)), kReadBlock, 1, &file,
                                   nullptr, &OutputFile::write, &OutputFile::seek));
  AVFormatContext* raw = nullptr;
  if (!context || !packet || avformat_alloc_output_context2(&raw, nullptr, "avi", nullptr) < 0)
    return fail(kNoMemory);
  muxer.reset(raw);
  context->direct = 1;
  muxer->pb = context.get();
  muxer->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
  muxer->flush_packets = 1;
  if (!describeStream()) return false;
  AVDictionary* options = nullptr;
  if (!codec) av_dict_set(&options, "flipped_raw_rgb", "1", 0);  // the classic form, the lowest row first
  const int begun = avformat_write_header(muxer.get(), &options);
  av_dict_free(&options);
  avio_flush(context.get());
  if (begun < 0 || file.error) return failFile();
  wholeEnd = file.end;
  return true;
}

bool VideoWriter::Parts::writePacket() {
  packet->stream_index = 0;
  av_packet_rescale_ts(packet.get(), {wanted.scale, wanted.rate}, muxer->streams[0]->time_base);
  const int done = av_write_frame(muxer.get(), packet.get());
  av_packet_unref(packet.get());
  avio_flush(context.get());
  if (done < 0 || file.error) return failFile();
  wholeEnd = file.end;
  ++written;
  return true;
}

bool VideoWriter::Parts::writeRaw(const uint8_t* rows, int32_t stride) {
  const int32_t rowBytes = wanted.width * (wanted.colour ? 3 : 1);
  const int32_t pitch = (rowBytes + 3) / 4 * 4;
  if (av_new_packet(packet.get(), pitch * wanted.height) < 0) return fail(kNoMemory);
  for (int32_t y = 0; y < wanted.height; ++y) {
    uint8_t* to = packet->data + ptrdiff_t{pitch} * (wanted.height - 1 - y);
    std::memcpy(to, rows + ptrdiff_t{stride} * y, static_cast<size_t>(rowBytes));
    std::memset(to + rowBytes, 0, static_cast<size_t>(pitch - rowBytes));
  }
  if (!wanted.colour && taken == 0) {
    uint8_t* palette = av_packet_new_side_data(packet.get(), AV_PKT_DATA_PALETTE, AVPALETTE_SIZE);
    if (!palette) return fail(kNoMemory);
    for (uint32_t level = 0; level < AVPALETTE_COUNT; ++level) {
      const uint32_t entry = 0xFF000000u | level * 0x010101u;
      std::memcpy(palette + 4 * level, &entry, sizeof entry);
    }
  }
  packet->flags |= AV_PKT_FLAG_KEY;
  packet->pts = packet->dts = taken;
  packet->duration = 1;
  return writePacket();
}

// Grey levels as brightness, without colour.
void VideoWriter::Parts::fillPlain(const uint8_t* rows, int32_t stride) {
  for (int32_t y = 0; y < wanted.height; ++y)
    std::memcpy(frame->data[0] + ptrdiff_t{y} * frame->linesize[0], rows + ptrdiff_t{stride} * y,
                static_cast<size_t>(wanted.width));
  const int chromaRows = form == AV_PIX_FMT_YUVJ420P ? wanted.height / 2 : wanted.height;
  for (int plane = 1; plane < 3 && frame->data[plane]; ++plane)
    std::memset(frame->data[plane], 128,
                static_cast<size_t>(frame->linesize[plane]) * static_cast<size_t>(chromaRows));
}

bool VideoWriter::Parts::fillColour(const uint8_t* rows, int32_t stride) {
  if (!scaler) {
    scaler.reset(sws_getContext(wanted.width, wanted.height, AV_PIX_FMT_BGR24, wanted.width, wanted.height,
                                form, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (!scaler) return false;
    const int* weights = sws_getCoefficients(SWS_CS_SMPTE170M);
    sws_setColorspaceDetails(scaler.get(), weights, 1, weights, 1, 0, 1 << 16, 1 << 16);
  }
  const uint8_t* const planes[] = {rows, nullptr, nullptr, nullptr};
  const int strides[] = {stride, 0, 0, 0};
  if (sws_scale(scaler.get(), planes, strides, 0, wanted.height, frame->data, frame->linesize) !=
      wanted.height)
    return false;
  if (form != AV_PIX_FMT_BGR0)
    for (int32_t y = 0; y < wanted.height; ++y)
      toLuma(rows + ptrdiff_t{stride} * y, wanted.width, frame->data[0] + ptrdiff_t{y} * frame->linesize[0]);
  return true;
}

bool VideoWriter::Parts::fill(const uint8_t* rows, int32_t stride) {
  if (av_frame_make_writable(frame.get()) < 0) return false;
  if (wanted.colour) return fillColour(rows, stride);
  fillPlain(rows, stride);
  return true;
}

// What the codec has ready.
bool VideoWriter::Parts::writeWaiting() {
  for (;;) {
    const int got = avcodec_receive_packet(codec.get(), packet.get());
    if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return true;
    if (got < 0) return fail("A frame can't be compressed.");
    if (!writePacket()) return false;
  }
}

// The index; or, where the file takes no more, nothing after the last whole frame.
bool VideoWriter::Parts::finish() {
  if (!muxer) return false;
  if (codec && !fileFailed && avcodec_send_frame(codec.get(), nullptr) >= 0) writeWaiting();
  if (!fileFailed) {
    const bool ended = av_write_trailer(muxer.get()) >= 0;
    avio_flush(context.get());
    if (!ended || file.error) failFile();
  }
  if (fileFailed && ::ftruncate(file.handle, wholeEnd) != 0) fail("The file can't be shortened.");
  if (!file.close()) failFile();
  return !fileFailed;
}

std::unique_ptr<VideoWriter> VideoWriter::create(const std::string& path, const VideoFormat& format,
                                                 std::string& why) {
  av_log_set_level(AV_LOG_QUIET);
  auto parts = std::make_unique<Parts>();
  parts->wanted = format;
  if (!parts->choose() || !parts->openCodec() || !parts->openFile(path)) {
    why = parts->why;
    return nullptr;
  }
  why.clear();
  return std::unique_ptr<VideoWriter>(new VideoWriter(std::move(parts)));
}

VideoWriter::VideoWriter(std::unique_ptr<Parts> made) : parts(std::move(made)) {}
VideoWriter::~VideoWriter() { close(); }

bool VideoWriter::write(const uint8_t* rows, int32_t stride) {
  Parts& p = *parts;
  if (p.closed || p.fileFailed) return false;
  if (!p.codec) {
    if (!p.writeRaw(rows, stride)) return false;
    ++p.taken;
    return true;
  }
  p.frame->pts = p.taken;
  if (!p.fill(rows, stride) || avcodec_send_frame(p.codec.get(), p.frame.get()) < 0)
    return p.fail("A frame can't be compressed.");
  ++p.taken;
  return p.writeWaiting();
}

bool VideoWriter::failed() const { return parts->fileFailed; }
const std::string& VideoWriter::why() const { return parts->why; }
int64_t VideoWriter::framesWritten() const { return parts->written; }

bool VideoWriter::close() {
  if (!parts->closed) parts->whole = parts->finish();
  parts->closed = true;
  return parts->whole;
}

}  // namespace tarnvisor
