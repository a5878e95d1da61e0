// WAV through FFmpeg. The bytes are handed over here, so that a name can never be taken for an address or a
// pattern; only the demuxer of WAV and decoders of plain samples may look at them.
extern "C" {
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/bytes.h"
#include "base/text.h"
#include "ffmpeg/ffmpeghandles.h"
#include "traces/traceimport.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

constexpr int kMostChannels = 64;
constexpr const char* kPlainSamples =
    "pcm_u8,pcm_s16le,pcm_s16be,pcm_s24le,pcm_s24be,pcm_s32le,pcm_s32be,pcm_f32le,pcm_f32be,pcm_f64le,pcm_f64be,pcm_alaw,pcm_mulaw";

// The samples of each channel as they come: 16-bit ones as they are, all others as parts of full scale.
struct Channels {
  int count = 0;
  bool whole = false;
  std::vector<std::vector<int16_t>> wholes;
  std::vector<std::vector<float>> parts;
};

float partOf(const uint8_t* at, AVSampleFormat kind) {
  switch (kind) {
    case AV_SAMPLE_FMT_U8:
      return static_cast<float>(*at - 128) / 128.0f;
    case AV_SAMPLE_FMT_S32: {  // 24 bits stand in the upper ones
      int32_t value;
      std::memcpy(&value, at, sizeof value);
      return static_cast<float>(value / 2147483648.0);
    }
    case AV_SAMPLE_FMT_DBL: {
      double value;
      std::memcpy(&value, at, sizeof value);
      return std::abs(value) <= 3e38 ? static_cast<float>(value) : 0.0f;
    }
    default: {
      float value;
      std::memcpy(&value, at, sizeof value);
      return std::isfinite(value) ? value : 0.0f;
    }
  }
}

bool isKnown(AVSampleFormat kind) {
  return kind == AV_SAMPLE_FMT_U8 || kind == AV_SAMPLE_FMT_S16 || kind == AV_SAMPLE_FMT_S32 ||
         kind == AV_SAMPLE_FMT_FLT || kind == AV_SAMPLE_FMT_DBL;
}

// False when the frame is of another kind than the file's beginning.
bool append(Channels& channels, const AVFrame& frame) {
  const auto given = static_cast<AVSampleFormat>(frame.format);
  const AVSampleFormat kind = av_get_packed_sample_fmt(given);
  const bool planar = av_sample_fmt_is_planar(given) != 0;
  const int count = frame.ch_layout.nb_channels;
  if (channels.count == 0 && count >= 1 && count <= kMostChannels) {
    channels.count = count;
    channels.whole = kind == AV_SAMPLE_FMT_S16;
    channels.wholes.resize(static_cast<size_t>(count));
    channels.parts.resize(static_cast<size_t>(count));
  }
  if (count != channels.count || count == 0 || !isKnown(kind) ||
      channels.whole != (kind == AV_SAMPLE_FMT_S16))
    return false;
  const auto bytes = static_cast<size_t>(av_get_bytes_per_sample(given));
  const size_t step = planar ? bytes : bytes * static_cast<size_t>(count);
  for (size_t c = 0; c < static_cast<size_t>(count); ++c) {
    const uint8_t* at = planar ? frame.extended_data[c] : frame.extended_data[0] + c * bytes;
    for (int i = 0; i < frame.nb_samples; ++i, at += step) {
      if (!channels.whole) {
        channels.parts[c].push_back(partOf(at, kind));
        continue;
      }
      int16_t value;
      std::memcpy(&value, at, sizeof value);
      channels.wholes[c].push_back(value);
    }
  }
  return true;
}

// Words about a failure; empty on success. A file that ends early gives what it has.
std::string decode(AVFormatContext& format, int stream, AVCodecContext& codec, Channels& channels) {
  const Packet packet(av_packet_alloc());
  const Frame frame(av_frame_alloc());
  if (!packet || !frame) return kLowMemory;
  bool draining = false;
  for (;;) {
    if (!draining && av_read_frame(&format, packet.get()) < 0) draining = true;
    if (draining)
      avcodec_send_packet(&codec, nullptr);
    else if (packet->stream_index == stream)
      avcodec_send_packet(&codec, packet.get());
    if (!draining) av_packet_unref(packet.get());
    while (avcodec_receive_frame(&codec, frame.get()) == 0)
      if (!append(channels, *frame)) return "Its kind of samples is not known.";
    if (draining) return "";
  }
}

ZZTrace::Own traceOf(Channels& channels, size_t channel, int rate, const std::string& name) {
  auto& wholes = channels.wholes[channel];
  auto& parts = channels.parts[channel];
  const size_t count = channels.whole ? wholes.size() : parts.size();
  if (count == 0 || count > INT32_MAX) return nullptr;
  auto trace =
      std::make_unique<CTrace>(channels.whole ? kInt16Code : kFloatCode, static_cast<uint32_t>(count));
  if (!trace->data) return nullptr;
  if (channels.whole) {
    std::memcpy(trace->data->dataat(0), wholes.data(), count * sizeof(int16_t));
    trace->ygain = 1.0 / 32768.0;
  } else {
    std::memcpy(trace->data->dataat(0), parts.data(), count * sizeof(float));
  }
  wholes = {};
  parts = {};
  trace->period = trace->pixelperiod = 1.0 / rate;
  trace->xunits = "seconds";
  trace->name = channels.count == 1 ? name : name + " " + std::to_string(channel + 1);
  return trace;
}

}  // namespace

namespace {

// Bytes of samples that the file tells of and has not; found in its chunks, as sizes that lie are not
// believed by the decoder.
uint64_t missingBytes(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rbe");
  if (!file) return 0;
  uint64_t missing = 0;
  std::array<uint8_t, 12> head{};
  std::fseek(file, 0, SEEK_END);
  const auto size = static_cast<uint64_t>(std::max(0L, std::ftell(file)));
  for (uint64_t at = 12; at + 8 <= size;) {
    std::fseek(file, static_cast<long>(at), SEEK_SET);
    if (std::fread(head.data(), 1, 8, file) != 8) break;
    const uint64_t bytes = getLittle<uint32_t>(&head[4]), end = at + 8 + bytes;
    // A writer that can't go back leaves the greatest number, or none, for "up to the end".
    if (std::memcmp(head.data(), "data", 4) == 0) {
      if (bytes != UINT32_MAX && end > size) missing = end - size;
      break;
    }
    at = end + bytes % 2;
  }
  std::fclose(file);
  return missing;
}

}  // namespace

Imported importWav(const std::string& path, const std::string& name) {
  av_log_set_level(AV_LOG_QUIET);
  const auto failed = [](const char* why) { return Imported{{}, why}; };
  FileBytes file(path);
  if (!file.isOpen()) return failed("It can't be opened.");
  const BytesContext context = bytesContext(&file, &FileBytes::read, &FileBytes::seek);
  if (!context) return failed(kLowMemory);
  const Format format = openFormat(*context, "wav");
  if (!format) return failed("It is no WAV file that can be read.");
  const AVCodec* decoder = nullptr;
  const int stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
  if (stream < 0 || !decoder) return failed("Its kind of samples is not known.");
  const Codec codec(avcodec_alloc_context3(decoder));
  if (!codec || avcodec_parameters_to_context(codec.get(), format->streams[stream]->codecpar) < 0)
    return failed(kLowMemory);
  codec->thread_count = 1;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "codec_whitelist", kPlainSamples, 0);
  const int opened = avcodec_open2(codec.get(), decoder, &options);
  av_dict_free(&options);
  if (opened < 0) return failed("Its kind of samples is not known.");
  const int rate = codec->sample_rate;
  if (rate <= 0) return failed("It tells no sample rate.");
  Channels channels;
  if (const std::string wrong = decode(*format, stream, *codec, channels); !wrong.empty()) return {{}, wrong};
  Imported result;
  for (size_t i = 0; i < static_cast<size_t>(channels.count); ++i) {
    ZZTrace::Own trace = traceOf(channels, i, rate, name);
    if (!trace) return failed(kLowMemory);
    result.traces.push_back(std::move(trace));
  }
  if (const uint64_t missing = missingBytes(path); missing > 0)
    result.shortage = tarnvisor::format(
        "The file was cut off or is damaged: %llu bytes of samples that it tells of are missing.",
        static_cast<unsigned long long>(missing));
  return result.traces.empty() ? failed("It holds no samples.") : std::move(result);
}

}  // namespace tarnvisor
