// Decodes the picture of any packet: on from where it stands when that leads there, otherwise from the key
// packet that governs it. Pictures are told apart by the number of their packet, which the decoder hands
// through, so that no count of what comes out is relied on. Those that come out are kept for a while.
//
// A picture that is damaged by what its decoder or its packet tells is none, and neither are those that build
// on it, up to the next key packet: what a decoder puts in the place of damage is no image of anything.
#pragma once

#include <cstdint>
#include <deque>
#include <set>
#include <unordered_map>
#include <vector>

#include "packetsource.h"
#include "slicesums.h"

namespace tarnvisor {

class FrameDecoder {
 public:
  // Source and index are borrowed.
  FrameDecoder(PacketSource& packets, const VideoIndex& of) : source(packets), index(of) {}

  // False when there is no decoder for it. Lenient: what decodes somehow counts as a picture.
  enum class Damage { Refused, Lenient };
  bool open(const AVCodecParameters& codec, int32_t width, int32_t height, Damage damage = Damage::Refused);
  AVPixelFormat form() const { return codec->pix_fmt; }

  // Takes the size that the picture of a packet really has for that of the movie: containers tell it rounded
  // up, or wrong. Unchanged when it can't be decoded or is larger than about what was told.
  void takeSizeOf(int32_t packet);
  int32_t width() const { return frameWidth; }
  int32_t height() const { return frameHeight; }

  // The picture of a packet, valid until the next call; null when it can't be decoded or is of another size.
  const AVFrame* frameOf(int32_t packet);

 private:
  bool search(int32_t packet, int32_t key);
  bool leadsTo(int32_t packet, int32_t key) const;
  void restart(int32_t key);
  bool receive(int32_t wanted);
  void keep(int32_t packet, ffmpeg::Frame picture);
  void feedNext();
  bool noteLost(int32_t before);
  bool isSound(int32_t number, const AVFrame& picture);
  bool isSpoiled(int32_t number) const;

  PacketSource& source;
  const VideoIndex& index;
  int32_t frameWidth = 0, frameHeight = 0;
  ffmpeg::Codec codec;
  ffmpeg::Filter filter;
  SliceSums sums;
  bool strict = true;
  ffmpeg::Packet packet{av_packet_alloc()};
  ffmpeg::Frame received{av_frame_alloc()};
  ffmpeg::Frame wantedFrame;
  std::unordered_map<int32_t, ffmpeg::Frame> kept;
  std::deque<int32_t> keptOrder;  // the oldest first
  int64_t keptBytes = 0;
  bool keeps = true;
  bool wentBack = false;          // to a packet before one that was fed already
  bool takesSize = false;         // of the next picture that comes out
  std::set<int32_t> inside;       // fed since the last start, not yet out
  std::vector<bool> undecodable;  // by packet
  std::set<int32_t> damaged;      // that others may build on
  int32_t startedAt = -1;         // the key fed first, -1 before any
  int32_t next = 0;               // the packet to feed next
  int32_t lastOut = -1;           // the picture that came out last, -1 before any
  bool erred = false;             // the decoder failed at a packet that was not found yet
  bool ended = false;             // the decoder was told that no more comes
};

}  // namespace tarnvisor
