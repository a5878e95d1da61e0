// Reads the head of each packet of a stream for what decides the order of showing.
#pragma once

#include "ffmpeg/ffmpeghandles.h"
#include "videoindex.h"

namespace tarnvisor {

// The filter that gives each picture of a stream, which may have packed two into one packet, a packet of its
// own; one packet in gives one out. Null where the codec knows no such thing.
ffmpeg::Filter unpackingFilter(const AVCodecParameters& codec);
// Puts the packet through the filter, if there is one. False when nothing came out: the packet is then empty.
bool unpack(AVBSFContext* filter, AVPacket& packet);

class PictureParser {
 public:
  explicit PictureParser(const AVCodecParameters& codec);
  // Else the first 4 KB of one will do.
  bool needsWholePackets() const;
  // Sets the record's key, number, betweens and role as far as the packet tells them.
  void look(const AVPacket& packet, PacketRecord& record);

 private:
  const AVCodecID id;
  bool lengthPrefixed = false;
  ffmpeg::Parser parser;
  ffmpeg::Codec context;
  ffmpeg::Filter filter;
  ffmpeg::Packet unpacked;
};

}  // namespace tarnvisor
