// Which packet holds which frame: the packets of a stream in the order in which they are stored and decoded,
// and their pictures in the order in which they are shown.
#pragma once

#include <cstdint>
#include <vector>

#include "aviheader.h"
#include "ffmpeg/ffmpeghandles.h"

namespace tarnvisor {

enum class PacketRole : uint8_t {
  Picture,
  Repeat,  // stands for a frame, but says "as before"
  Hidden   // helps to decode others and stands for no frame
};

struct PacketRecord {
  int64_t place = -1;                   // of its bytes in the file where that is known
  int64_t decodeTime = AV_NOPTS_VALUE;  // in the stream's time base; in an AVI the number of its chunk
  int64_t showTime = AV_NOPTS_VALUE;
  int32_t bytes = 0;
  int32_t number = 0;  // a picture number where the codec has them, counted from its last restart
  bool key = false;
  bool numbered = false;  // `number` was found
  bool betweens = false;  // a bidirectional picture: shown before the anchor that precedes it
  PacketRole role = PacketRole::Picture;
};

class VideoIndex {
 public:
  std::vector<PacketRecord> packets;
  // What shows that more was meant to be there: a length that was never written or reaches past the file's
  // end, and frames that the file tells of behind those that were found.
  bool cutOff = false;
  int64_t missing = 0;
  // From image to image, in the stream's time base; only where they differ by more than its ticks do.
  struct Steps {
    int64_t least = 0, greatest = 0, all = 0;
  };
  Steps unevenSteps;

  // To be called once, when all packets are there: sorts them into the order of showing.
  void arrange(bool mayReorder, bool framesByChunk);

  int32_t frames() const { return frameCount; }
  // The packet whose picture is shown as frame i; -1 before the first picture.
  int32_t packetOfFrame(int32_t frame) const;
  // The key packet from which decoding gives this packet's picture: a picture shown before the key picture
  // that it is stored after needs the group before.
  int32_t keyFor(int32_t packet) const;
  int32_t longestGroup() const { return longest; }  // packets from key packet to key packet
  // Of times that say so; nothing where one is missing.
  Steps stepsOfTime() const;
  bool isShownBefore(int32_t packet, int32_t other) const {
    return positionOf[static_cast<size_t>(packet)] < positionOf[static_cast<size_t>(other)];
  }
  // The key packet before a key packet; -1 when there is none.
  int32_t keyBefore(int32_t key) const;

 private:
  std::vector<int32_t> shownOrder(bool mayReorder) const;
  int64_t frameByChunk(size_t j, size_t delay) const;

  std::vector<int32_t> packetAt;    // by place in the order of showing, without those that show nothing
  std::vector<int32_t> frameAt;     // the frame that each begins at
  std::vector<int32_t> positionOf;  // of a packet in the order of showing
  std::vector<int32_t> keys;
  int32_t frameCount = 0;
  int32_t longest = 0;
};

// From an AVI's index and, from where that ends, its chunks. False when the file holds no frames' chunks that
// can be reached so.
bool indexAvi(const ffmpeg::FileBytes& file, const AviHeader& header, int32_t stream,
              const AVStream& described, VideoIndex& index);
// By reading all packets of a stream once. The format stands at its end afterwards.
void indexByReading(AVFormatContext& format, const AVStream& stream, VideoIndex& index);

}  // namespace tarnvisor
