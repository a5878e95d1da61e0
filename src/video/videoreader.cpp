#include "video/videoreader.h"

#include <cstdlib>
#include <cstring>

#include "aviheader.h"
#include "base/files.h"
#include "framedecoder.h"
#include "framepixels.h"
#include "packetsource.h"
#include "settings/log.h"
#include "videoindex.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

constexpr uint32_t kVideo = fourCharacters("vids"), kVideoToo = fourCharacters("vidc");
constexpr uint32_t kInterleaved = fourCharacters("iavs");
constexpr uint32_t kCanRead = 1, kAllKeys = 0x10, kNoCompression = 0x20;  // capability bits

uint32_t typeOf(const AVStream& stream) {
  switch (stream.codecpar->codec_type) {
    case AVMEDIA_TYPE_VIDEO:
      return stream.disposition & AV_DISPOSITION_ATTACHED_PIC ? 0 : kVideo;
    case AVMEDIA_TYPE_AUDIO:
      return fourCharacters("auds");
    case AVMEDIA_TYPE_SUBTITLE:
      return fourCharacters("txts");
    default:
      return 0;
  }
}

// What an AVI's own headers would say of a stream of another container.
StreamFacts factsOf(AVFormatContext& format, AVStream& stream) {
  StreamFacts facts;
  facts.hasInfo = true;
  facts.type = typeOf(stream);
  facts.handler = facts.compression = stream.codecpar->codec_tag;
  const AVRational rate = av_guess_frame_rate(&format, &stream, nullptr);
  facts.rate = static_cast<uint32_t>(std::max(rate.num, 0));
  facts.scale = static_cast<uint32_t>(std::max(rate.den, 0));
  facts.length = static_cast<uint32_t>(std::clamp<int64_t>(stream.nb_frames, 0, INT32_MAX));
  facts.formatBytes = 40 + std::max(stream.codecpar->extradata_size, 0);
  facts.planes = 1;
  facts.bits = static_cast<uint32_t>(std::max(stream.codecpar->bits_per_coded_sample, 0));
  return facts;
}

uint32_t capabilitiesOf(AVCodecID id) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get(id);
  return kCanRead | (codec && codec->props & AV_CODEC_PROP_INTRA_ONLY ? kAllKeys : 0) |
         (id == AV_CODEC_ID_RAWVIDEO ? kNoCompression : 0);
}

bool fits(int32_t width, int32_t height) {
  return width > 0 && height > 0 && width <= VideoReader::kMostSide && height <= VideoReader::kMostSide;
}

const char* fourOf(const uint32_t& code) { return reinterpret_cast<const char*>(&code); }

}  // namespace

struct VideoReader::Parts {
  explicit Parts(const std::string& path) : file(path) {}

  bool openFile(const std::string& path, std::string& why);
  int32_t findStream(std::string& why);
  bool takeStream(int32_t number, std::string& why);
  void logFile() const;
  bool logStream(int32_t number) const;
  size_t streamCount() const { return std::clamp<size_t>(header.streamCount, facts.size(), 100); }
  void buildIndex();
  void openDecoder();
  void logDecoder() const;
  void nameCodec(const StreamFacts& own);
  void findDoubts(const std::string& name);
  void findDepth();
  bool read(int32_t index, uint8_t* target, int32_t stride, bool colour);
  bool readRaw(int32_t packet, uint8_t* target, int32_t stride);

  FileBytes file;
  BytesContext context;
  Format format;
  AviHeader header;
  bool isAvi = false;
  std::vector<StreamFacts> facts;
  AVStream* stream = nullptr;
  std::string unknownCodec, depthWords;
  std::vector<std::string> doubts;
  int32_t width = 0, height = 0, rate = 1, scale = 1;
  VideoIndex index;
  std::unique_ptr<PacketSource> packets;
  std::unique_ptr<FrameDecoder> decoder;
  FramePixels pixels;
};

bool VideoReader::Parts::openFile(const std::string& path, std::string& why) {
  av_log_set_level(AV_LOG_QUIET);
  logPrintf("openAVI: %s", path.c_str());
  why = "it can't be opened.";
  if (file.isOpen()) context = bytesContext(&file, &FileBytes::read, &FileBytes::seek);
  if (context) {
    why = "it is no video file of a known kind.";
    format = openFormat(*context, nullptr);
  }
  if (!format) {
    logPrintf("failed AVI file open.");
    return false;
  }
  isAvi = std::strcmp(format->iformat->name, "avi") == 0 && readAviHeader(file, header);
  // An AVI's headers and chunks tell enough; others need a look into their frames.
  if (!isAvi && avformat_find_stream_info(format.get(), nullptr) < 0) {
    logPrintf("bad avi info.");
    logPrintf("get stream failed.\n");
    return false;
  }
  facts = header.streams;
  if (!isAvi)
    for (unsigned i = 0; i < format->nb_streams; ++i) facts.push_back(factsOf(*format, *format->streams[i]));
  return true;
}

// The first video stream; -1 when there is none.
int32_t VideoReader::Parts::findStream(std::string& why) {
  why = "it holds no video.";
  for (size_t i = 0; i < facts.size(); ++i) {
    const auto number = static_cast<int>(i);
    logPrintf("try getting stream %i\n", number);
    logPrintf("getting info for stream %i", number);
    const StreamFacts& each = facts[i];
    if (!each.hasInfo) {
      logPrintf("bad stream info.");
      continue;
    }
    logPrintf("fccType=%x (%.4s)\n", each.type, fourOf(each.type));
    logPrintf("fccHandler=%x (%.4s)\n", each.handler, fourOf(each.handler));
    logPrintf("name=%s\n", each.name.c_str());
    if (each.type == kVideo || each.type == kVideoToo) return number;
    if (each.type == kInterleaved) {
      logPrintf("VFW cannot handle raw DV interleaved video and audio\n");
      why = "it holds DV with video and audio in one stream, which can't be read.";
    } else {
      logPrintf("skipping non-video stream\n");
    }
  }
  for (size_t i = facts.size(); i < streamCount(); ++i) {
    logPrintf("try getting stream %i\n", static_cast<int>(i));
    logPrintf("cannot get this stream.\n");
  }
  logPrintf("get stream failed.\n");
  return -1;
}

bool VideoReader::Parts::takeStream(int32_t number, std::string& why) {
  for (unsigned i = 0; i < format->nb_streams; ++i) {
    AVStream& each = *format->streams[i];
    const bool own = isAvi ? each.id == number && each.codecpar->codec_type == AVMEDIA_TYPE_VIDEO
                           : static_cast<int>(i) == number;
    if (own && !stream)
      stream = &each;
    else
      each.discard = AVDISCARD_ALL;
  }
  why = "its video can't be reached.";
  if (!stream) {
    logPrintf("get stream failed.\n");
    return false;
  }
  width = stream->codecpar->width;
  height = std::abs(std::max(stream->codecpar->height, -kMostSide - 1));
  const StreamFacts& own = facts[static_cast<size_t>(number)];
  const bool tellsRate = own.rate > 0 && own.scale > 0 && own.rate <= INT32_MAX && own.scale <= INT32_MAX;
  rate = tellsRate ? static_cast<int32_t>(own.rate) : 25;
  scale = tellsRate ? static_cast<int32_t>(own.scale) : 1;
  return true;
}

void VideoReader::Parts::buildIndex() {
  if (isAvi) {  // without any chunk it is a movie without frames
    if (indexAvi(file, header, stream->id, *stream, index))
      packets = chunkPackets(file, stream->id, index, *stream->codecpar);
    return;
  }
  indexByReading(*format, *stream, index);
  packets = demuxedPackets(*format, stream->index, index);
}

void VideoReader::Parts::openDecoder() {
  if (!packets) return;
  decoder = std::make_unique<FrameDecoder>(*packets, index);
  if (!decoder->open(*stream->codecpar, width, height)) return decoder.reset();
  const int32_t first = index.packetOfFrame(0), second = index.packetOfFrame(1);
  if (isAvi && first >= 0) decoder->takeSizeOf(first);
  // A writer whose pictures are all against the rules is not a damaged file.
  const bool sloppy = first >= 0 && second > first && !decoder->frameOf(first) && !decoder->frameOf(second);
  if (sloppy && decoder->open(*stream->codecpar, width, height, FrameDecoder::Damage::Lenient) && isAvi)
    decoder->takeSizeOf(first);
  width = decoder->width();
  height = decoder->height();
}

void VideoReader::Parts::logDecoder() const {
  logPrintf("Try AVI to 24 bit.\n");
  if (decoder && (decoder->form() == AV_PIX_FMT_NONE || FramePixels::takes(decoder->form()))) return;
  logPrintf("Not available!  Try default format\n");
  if (!decoder) logPrintf("Not available!\n");
}

// What nothing decodes, after a search that the log tells of.
void VideoReader::Parts::nameCodec(const StreamFacts& own) {
  if (decoder || !packets) return;
  std::string report;
  const uint32_t codec = own.compression ? own.compression : own.handler;
  getDecompressor(own.type, codec, report);
  unknownCodec.assign(fourOf(codec), 4);
}

void VideoReader::Parts::findDoubts(const std::string& name) {
  const VideoIndex::Steps& steps = index.unevenSteps;
  if (steps.all > 0) {
    const double tick = av_q2d(stream->time_base) * 1000;
    av_reduce(&rate, &scale, int64_t{index.frames() - 1} * stream->time_base.den,
              steps.all * stream->time_base.num, INT32_MAX);
    doubts.push_back(tarnvisor::format(
        "The images of %s are not evenly timed: they are %.4g to %.4g ms apart. All are taken to be %.4g ms apart, their mean, and what is told by time, velocities too, is right on the average alone.",
        name.c_str(), tick * static_cast<double>(steps.least), tick * static_cast<double>(steps.greatest),
        1000.0 * scale / rate));
  }
  const AVRational pixel = av_guess_sample_aspect_ratio(format.get(), stream, nullptr);
  if (pixel.num > 0 && pixel.den > 0 && pixel.num != pixel.den)
    doubts.push_back(tarnvisor::format(
        "The pixels of %s are not square but %.4g times as wide as high: calibrate the two axes one by one.",
        name.c_str(), av_q2d(pixel)));
}

// Cameras of 10 or 12 bits store them in 16. Some images tell which they use.
void VideoReader::Parts::findDepth() {
  constexpr int32_t kLooked = 16;
  FramePixels::Deep deep;
  for (int32_t i = 0; decoder && i < std::min(kLooked, index.frames()); ++i) {
    const auto place = static_cast<int32_t>(int64_t{index.frames() - 1} * i / (kLooked - 1));
    const int32_t packet = index.packetOfFrame(std::min(place, index.frames() - 1));
    const AVFrame* frame = packet < 0 ? nullptr : decoder->frameOf(packet);
    const FramePixels::Deep of = frame ? FramePixels::deepLevelsOf(*frame) : FramePixels::Deep{};
    if (frame && of.bits == 0) return;
    deep = {std::max(deep.greatest, of.greatest), std::max(deep.bits, of.bits)};
  }
  if (deep.bits == 0) return;
  int used = 8;
  while (used < deep.bits && deep.greatest >> used > 0) used += 2;
  if (deep.greatest == 0) used = deep.bits;
  used = std::min(used, deep.bits);
  pixels.setDepth(used);
  depthWords = tarnvisor::format(
      "of grey levels in %i bits, of which %i are used, the upper 8 of these are shown", deep.bits, used);
}

void VideoReader::Parts::logFile() const {
  const AVStream* video = nullptr;
  for (unsigned i = format->nb_streams; i-- > 0;)
    if (typeOf(*format->streams[i]) == kVideo) video = format->streams[i];
  logPrintf("number of streams=%i\n", static_cast<int>(streamCount()));
  logPrintf("dwCaps=%x\n", video ? capabilitiesOf(video->codecpar->codec_id) : kCanRead);
  const StreamFacts none;
  const StreamFacts& first = facts.empty() ? none : facts.front();
  logPrintf("w=%i h=%i len=%i\n", video ? video->codecpar->width : 0, video ? video->codecpar->height : 0,
            static_cast<int>(isAvi ? header.length : first.length));
  logPrintf("filetype=%s\n", format->iformat->long_name);
}

bool VideoReader::Parts::logStream(int32_t number) const {
  const AVCodecParameters& codec = *stream->codecpar;
  const StreamFacts& own = facts[static_cast<size_t>(number)];
  logPrintf("got stream\n");
  logPrintf("file info says:");
  logPrintf(capabilitiesOf(codec.codec_id) & kNoCompression ? "is not compressed.\n" : "is compressed.\n");
  logPrintf("rate=%i scale=%i\n", rate, scale);
  logPrintf("reading stream format");
  if (own.formatBytes <= 0) {
    logPrintf("bad stream format size.\n");
    return false;
  }
  logPrintf("stream format size=%i\n", own.formatBytes);
  if (!fits(width, height)) {
    logPrintf("bad stream format.\n");
    return false;
  }
  logPrintf("stream format planes=%i, bits=%i, compression=%x\n", static_cast<int>(own.planes),
            static_cast<int>(own.bits), own.compression);
  return true;
}

bool VideoReader::Parts::readRaw(int32_t packet, uint8_t* target, int32_t stride) {
  const Packet bytes(av_packet_alloc());
  if (!bytes || !packets->read(packet, *bytes)) return false;
  const int64_t count = std::min<int64_t>(bytes->size, int64_t{stride} * height);
  std::memcpy(target, bytes->data, static_cast<size_t>(count));
  return true;
}

bool VideoReader::Parts::read(int32_t frame, uint8_t* target, int32_t stride, bool colour) {
  if (!packets || frame < 0 || frame >= index.frames()) return false;
  const int32_t packet = index.packetOfFrame(frame);
  if (packet < 0) return false;
  if (!decoder) return readRaw(packet, target, stride);
  const AVFrame* decoded = decoder->frameOf(packet);
  if (!decoded) return false;
  return colour ? pixels.toColour(*decoded, target, stride) : pixels.toGrey(*decoded, target, stride);
}

std::unique_ptr<VideoReader> VideoReader::open(const std::string& path, std::string& why) {
  auto parts = std::make_unique<Parts>(path);
  if (!parts->openFile(path, why)) return nullptr;
  parts->logFile();
  const int32_t number = parts->findStream(why);
  if (number < 0 || !parts->takeStream(number, why)) return nullptr;
  if (!parts->logStream(number)) {
    why = "the form of its frames can't be read.";
    return nullptr;
  }
  parts->buildIndex();
  parts->openDecoder();
  parts->findDoubts(fileNameOf(path));
  parts->findDepth();
  logPrintf("openavi %i images, w=%i, h=%i\n", parts->index.frames(), parts->width, parts->height);
  parts->logDecoder();
  logPrintf("openAVI done\n");
  parts->nameCodec(parts->facts[static_cast<size_t>(number)]);
  why.clear();
  return std::unique_ptr<VideoReader>(new VideoReader(std::move(parts)));
}

VideoReader::VideoReader(std::unique_ptr<Parts> made) : parts(std::move(made)) {}
VideoReader::~VideoReader() = default;

int32_t VideoReader::frames() const { return parts->index.frames(); }
int32_t VideoReader::width() const { return parts->width; }
int32_t VideoReader::height() const { return parts->height; }
int32_t VideoReader::rate() const { return parts->rate; }
int32_t VideoReader::scale() const { return parts->scale; }
bool VideoReader::decodes() const { return parts->decoder != nullptr; }
bool VideoReader::hasWeighedColours() const { return parts->pixels.hasWeighedColours(); }
bool VideoReader::isCutOff() const { return parts->index.cutOff; }
int64_t VideoReader::missingFrames() const { return parts->index.missing; }
std::string VideoReader::unknownCodec() const { return parts->unknownCodec; }
const std::vector<std::string>& VideoReader::doubts() const { return parts->doubts; }
const std::string& VideoReader::depthWords() const { return parts->depthWords; }
std::string VideoReader::codec() const {
  const AVCodecDescriptor* kind = avcodec_descriptor_get(parts->stream->codecpar->codec_id);
  return kind && kind->long_name ? kind->long_name : parts->unknownCodec;
}

bool VideoReader::readGrey(int32_t index, uint8_t* target, int32_t stride) {
  return parts->read(index, target, stride, false);
}

bool VideoReader::readColour(int32_t index, uint8_t* target, int32_t stride) {
  return parts->read(index, target, stride, true);
}

bool getDecompressor(uint32_t type, uint32_t handler, std::string& report) {
  const auto note = [&report](const std::string& words) {
    logPrintf("%s", words.c_str());
    report += words;
  };
  note(tarnvisor::format("getdecompressor: looking for fccType=%x (%.4s), fccHandler=%x (%.4s)\n", type,
                         fourOf(type), handler, fourOf(handler)));
  const AVCodecTag* const tables[] = {avformat_get_riff_video_tags(), nullptr};
  const bool video = type == kVideo || type == kVideoToo;
  const AVCodecID id = video ? av_codec_get_id(tables, handler) : AV_CODEC_ID_NONE;
  void* place = nullptr;
  for (int number = 0; const AVCodec* each = video ? av_codec_iterate(&place) : nullptr;) {
    if (!av_codec_is_decoder(each) || each->type != AVMEDIA_TYPE_VIDEO) continue;
    const uint32_t code = av_codec_get_tag(tables, each->id);
    note(tarnvisor::format("checking decompressor no. %x (%.4s)=%s (%s)\n", static_cast<unsigned>(number++),
                           fourOf(code), each->name, each->long_name ? each->long_name : ""));
    if (each->id != id) continue;
    note("found decompressor:");
    const Codec opened(avcodec_alloc_context3(each));
    if (opened && avcodec_open2(opened.get(), each, nullptr) >= 0) {
      note(" format ok\n");
      return true;
    }
    note(" cannot convert to this format\n");
  }
  note("trying ICLocate:");
  note("failed\n");
  return false;
}

}  // namespace tarnvisor
