#include "packetsource.h"

#include <algorithm>
#include <cstring>

#include "base/bytes.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

class ChunkPackets : public PacketSource {
 public:
  ChunkPackets(const FileBytes& from, int32_t number, const VideoIndex& of, const AVCodecParameters& codec)
      : file(from), stream(number), index(of), palette(paletteOf(codec)) {}

  bool read(int32_t number, AVPacket& packet) override {
    const PacketRecord& record = index.packets[static_cast<size_t>(number)];
    uint32_t told = 0;  // a place that no chunk begins at was overwritten
    if (!isChunkOf(file, record.place, stream, told) || record.bytes > file.size() - record.place ||
        av_new_packet(&packet, record.bytes) < 0)
      return false;
    if (!file.readAt(record.place, packet.data, static_cast<size_t>(record.bytes)) || !addPalette(packet)) {
      av_packet_unref(&packet);
      return false;
    }
    if (record.key) packet.flags |= AV_PKT_FLAG_KEY;
    return true;
  }

 private:
  // Every packet carries it: a decoder forgets its palette when it is taken to another place.
  bool addPalette(AVPacket& packet) const {
    if (palette.empty()) return true;
    uint8_t* at = av_packet_new_side_data(&packet, AV_PKT_DATA_PALETTE, AVPALETTE_SIZE);
    if (at) std::memcpy(at, palette.data(), AVPALETTE_SIZE);
    return at;
  }

  const FileBytes& file;
  const int32_t stream;
  const VideoIndex& index;
  const std::vector<uint32_t> palette;
};

class DemuxedPackets : public PacketSource {
 public:
  DemuxedPackets(AVFormatContext& from, int of, const VideoIndex& known)
      : format(from), stream(of), index(known), scratch(av_packet_alloc()) {
    byPlace.reserve(index.packets.size());
    for (size_t i = 0; i < index.packets.size(); ++i)
      byPlace.push_back({index.packets[i].place, static_cast<int32_t>(i)});
    std::sort(byPlace.begin(), byPlace.end(), &Place::isBefore);
    toStart();
  }

  bool read(int32_t number, AVPacket& packet) override {
    if (!scratch || (number != next && !findFrom(number))) return false;
    for (; next <= number; ++next, held = false)
      if (!held && !readNext()) return false;
    av_packet_move_ref(&packet, scratch.get());
    return true;
  }

 private:
  bool readNext() {
    do {
      av_packet_unref(scratch.get());
      if (av_read_frame(&format, scratch.get()) < 0) {
        next = INT32_MAX;
        return false;
      }
    } while (scratch->stream_index != stream);
    return true;
  }

  bool toStart() {
    const int64_t first = format.streams[stream]->start_time;
    const int64_t earliest = first == AV_NOPTS_VALUE ? 0 : first;
    const bool done = avformat_seek_file(&format, stream, INT64_MIN, INT64_MIN / 2, earliest, 0) >= 0 ||
                      av_seek_frame(&format, stream, 0, AVSEEK_FLAG_BYTE) >= 0;
    next = done ? 0 : INT32_MAX;
    held = false;
    return done;
  }

  // The number of the packet just read; -1 when it is like none or several of those that were seen.
  int32_t numberOfScratch() const {
    const auto range =
        std::equal_range(byPlace.begin(), byPlace.end(), Place{scratch->pos, 0}, &Place::isBefore);
    int32_t found = -1;
    for (auto at = range.first; at != range.second; ++at) {
      const PacketRecord& record = index.packets[static_cast<size_t>(at->number)];
      if (record.decodeTime != scratch->dts || record.showTime != scratch->pts ||
          record.bytes != scratch->size)
        continue;
      if (found >= 0) return -1;
      found = at->number;
    }
    return found;
  }

  // Stands on a packet no later than the one wanted: by its key's time, by the times of keys before, at last
  // from the start, where packets can be counted.
  bool findFrom(int32_t wanted) {
    int32_t key = index.keyFor(wanted);
    for (int tries = 0; tries < 3 && key > 0; ++tries, key = index.keyBefore(key)) {
      const PacketRecord& record = index.packets[static_cast<size_t>(key)];
      const int64_t time = record.decodeTime != AV_NOPTS_VALUE ? record.decodeTime : record.showTime;
      if (time == AV_NOPTS_VALUE || av_seek_frame(&format, stream, time, AVSEEK_FLAG_BACKWARD) < 0) continue;
      if (!readNext()) continue;
      const int32_t landed = numberOfScratch();
      if (landed < 0 || landed > wanted) continue;
      next = landed;
      held = true;
      return true;
    }
    return toStart();
  }

  struct Place {
    int64_t place;
    int32_t number;
    static bool isBefore(const Place& a, const Place& b) { return a.place < b.place; }
  };
  AVFormatContext& format;
  const int stream;
  const VideoIndex& index;
  const Packet scratch;
  std::vector<Place> byPlace;
  int32_t next = 0;   // the packet that comes next
  bool held = false;  // it was read already and stands in scratch
};

}  // namespace

std::vector<uint32_t> paletteOf(const AVCodecParameters& codec) {
  if (codec.bits_per_coded_sample < 1 || codec.bits_per_coded_sample > 8 || codec.extradata_size < 4)
    return {};
  const int count = std::min(1 << codec.bits_per_coded_sample, codec.extradata_size / 4);
  std::vector<uint32_t> palette(AVPALETTE_COUNT, 0xFF000000u);
  for (int i = 0; i < count; ++i)
    palette[static_cast<size_t>(i)] = 0xFF000000u | getLittle<uint32_t>(codec.extradata + 4 * i);
  return palette;
}

std::unique_ptr<PacketSource> chunkPackets(const FileBytes& file, int32_t stream, const VideoIndex& index,
                                           const AVCodecParameters& codec) {
  return std::make_unique<ChunkPackets>(file, stream, index, codec);
}

std::unique_ptr<PacketSource> demuxedPackets(AVFormatContext& format, int stream, const VideoIndex& index) {
  return std::make_unique<DemuxedPackets>(format, stream, index);
}

}  // namespace tarnvisor
