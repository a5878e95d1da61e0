// The packets of one video stream by number.
#pragma once

#include <memory>
#include <vector>

#include "ffmpeg/ffmpeghandles.h"
#include "videoindex.h"

namespace tarnvisor {

class PacketSource {
 public:
  virtual ~PacketSource() = default;
  // Packets one after the other are quick; any other takes a search. False when it can't be read.
  virtual bool read(int32_t number, AVPacket& packet) = 0;
};

// An AVI's chunks, straight from the file. What is borrowed: file and index.
std::unique_ptr<PacketSource> chunkPackets(const ffmpeg::FileBytes& file, int32_t stream,
                                           const VideoIndex& index, const AVCodecParameters& codec);
// What a demuxer gives; it is taken back to the file's start first.
std::unique_ptr<PacketSource> demuxedPackets(AVFormatContext& format, int stream, const VideoIndex& index);

// An AVI's palette as FFmpeg's decoders want it; empty when it has none.
std::vector<uint32_t> paletteOf(const AVCodecParameters& codec);

}  // namespace tarnvisor
