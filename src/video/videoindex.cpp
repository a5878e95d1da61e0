#include "videoindex.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "pictureparser.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

constexpr int kProbes = 16;
constexpr int32_t kHeadBytes = 4096;  // more than what precedes the header of a first slice

// Restarts of the picture numbers.
std::vector<int32_t> epochsOf(const std::vector<PacketRecord>& packets) {
  std::vector<int32_t> epochs(packets.size());
  int32_t epoch = 0;
  for (size_t i = 0; i < packets.size(); ++i)
    epochs[i] = packets[i].key && packets[i].number == 0 ? ++epoch : epoch;
  return epochs;
}

std::vector<int32_t> anchorsAfterBetweens(const std::vector<PacketRecord>& packets) {
  std::vector<int32_t> order;
  int32_t anchor = -1;
  for (size_t i = 0; i < packets.size(); ++i) {
    if (packets[i].betweens) {
      order.push_back(static_cast<int32_t>(i));
      continue;
    }
    if (anchor >= 0) order.push_back(anchor);
    anchor = static_cast<int32_t>(i);
  }
  if (anchor >= 0) order.push_back(anchor);
  return order;
}

bool reorders(AVCodecID id) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get(id);
  return codec && codec->props & AV_CODEC_PROP_REORDER;
}

bool allAreKeys(AVCodecID id) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get(id);
  return codec && codec->props & AV_CODEC_PROP_INTRA_ONLY;
}

void settleKeys(std::vector<PacketRecord>& packets, AVCodecID id) {
  const bool all = allAreKeys(id);
  for (PacketRecord& packet : packets)
    if (all) packet.key = true;
  if (!packets.empty()) packets.front().key = true;
}

// The entries that the demuxer found, when they lead to chunks of this stream.
void takeEntries(const FileBytes& file, int32_t chunkStream, const AVStream& described,
                 std::vector<PacketRecord>& packets) {
  auto* stream = const_cast<AVStream*>(&described);  // the call reads only
  const int count = avformat_index_get_entries_count(stream);
  const auto fits = [&](int i) {
    const AVIndexEntry* entry = avformat_index_get_entry(stream, i);
    uint32_t bytes = 0;
    return isChunkOf(file, entry->pos + 8, chunkStream, bytes) && static_cast<int64_t>(bytes) == entry->size;
  };
  // Where the file is damaged some of them lead nowhere, and the others are still right.
  const int probes = std::min(count, kProbes);
  int fitting = 0;
  for (int i = 0; i < probes; ++i)
    fitting += fits(static_cast<int>(int64_t{count - 1} * i / std::max(1, probes - 1)));
  if (count == 0 || 2 * fitting < probes) return;
  packets.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    const AVIndexEntry* entry = avformat_index_get_entry(stream, i);
    PacketRecord record;
    record.place = entry->pos + 8;
    record.decodeTime = entry->timestamp;
    record.bytes = entry->size;
    record.key = entry->flags & AVINDEX_KEYFRAME;
    if (record.place + record.bytes <= file.size()) packets.push_back(record);
  }
}

// From where the entries end. A chunk without bytes takes a place in time and has no packet. The number of
// the chunk that would be next.
int64_t takeChunks(const FileBytes& file, const AviHeader& header, int32_t chunkStream, VideoIndex& index) {
  auto& packets = index.packets;
  int64_t from = header.firstChunk, chunk = 0;
  if (!packets.empty()) {
    const PacketRecord& last = packets.back();
    from = last.place + last.bytes + (last.bytes & 1);
    chunk = last.decodeTime + 1;
  }
  const bool walkedOnly = packets.empty();
  const bool whole = walkChunks(file, from, chunkStream, [&](const AviChunk& found) {
    const int64_t number = chunk++;
    if (found.bytes == 0 || found.bytes > INT32_MAX || packets.size() >= INT32_MAX) return;
    PacketRecord record;
    record.place = found.place;
    record.decodeTime = number;
    record.bytes = static_cast<int32_t>(found.bytes);
    record.key = walkedOnly && packets.empty();
    packets.push_back(record);
  });
  index.cutOff = header.cutOff || !whole;
  return chunk;
}

// What the beginnings of the packets tell of their pictures.
void lookAtPictures(const FileBytes& file, const AVCodecParameters& codec, size_t indexed,
                    std::vector<PacketRecord>& packets) {
  PictureParser parser(codec);
  const Packet packet(av_packet_alloc());
  for (size_t i = 0; packet && i < packets.size(); ++i) {
    PacketRecord& record = packets[i];
    const int32_t bytes = parser.needsWholePackets() ? record.bytes : std::min(record.bytes, kHeadBytes);
    if (av_new_packet(packet.get(), bytes) < 0) return;
    const bool told = record.key;
    if (file.readAt(record.place, packet->data, static_cast<size_t>(bytes))) parser.look(*packet, record);
    if (i < indexed) record.key = record.key && told;
    av_packet_unref(packet.get());
  }
}

}  // namespace

std::vector<int32_t> VideoIndex::shownOrder(bool mayReorder) const {
  std::vector<int32_t> order(packets.size());
  std::iota(order.begin(), order.end(), 0);
  if (!mayReorder) return order;
  const auto all = [this](auto test) { return std::all_of(packets.begin(), packets.end(), test); };
  const auto record = [this](int32_t i) -> const PacketRecord& { return packets[static_cast<size_t>(i)]; };
  if (all([](const PacketRecord& p) { return p.showTime != AV_NOPTS_VALUE; })) {
    std::stable_sort(order.begin(), order.end(),
                     [&](int32_t a, int32_t b) { return record(a).showTime < record(b).showTime; });
  } else if (all([](const PacketRecord& p) { return p.numbered; })) {
    const std::vector<int32_t> epochs = epochsOf(packets);
    std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
      const int32_t first = epochs[static_cast<size_t>(a)], second = epochs[static_cast<size_t>(b)];
      return first != second ? first < second : record(a).number < record(b).number;
    });
  } else {
    order = anchorsAfterBetweens(packets);
  }
  return order;
}

// The frame that the picture at place j of the order of showing begins at, where chunks are counted: pictures
// lie that many chunks before their turn as the deepest reordering takes, and so do the gaps between them.
int64_t VideoIndex::frameByChunk(size_t j, size_t delay) const {
  const size_t last = packets.size() - 1, at = std::min(j + delay, last);
  return packets[at].decodeTime + static_cast<int64_t>(j + delay - at) - static_cast<int64_t>(delay);
}

void VideoIndex::arrange(bool mayReorder, bool framesByChunk) {
  const std::vector<int32_t> order = shownOrder(mayReorder);
  positionOf.resize(packets.size());
  size_t delay = 0;
  for (size_t j = 0; j < order.size(); ++j)
    delay = std::max(delay, std::max(static_cast<size_t>(order[j]), j) - j);
  int64_t frame = 0;
  for (size_t j = 0; j < order.size(); ++j) {
    const PacketRecord& shown = packets[static_cast<size_t>(order[j])];
    positionOf[static_cast<size_t>(order[j])] = static_cast<int32_t>(j);
    if (framesByChunk) frame = frameByChunk(j, delay);
    if (shown.role == PacketRole::Hidden || frame < 0 || frame >= INT32_MAX) continue;
    if (shown.role == PacketRole::Picture) {
      packetAt.push_back(order[j]);
      frameAt.push_back(static_cast<int32_t>(frame));
    }
    ++frame;
    frameCount = std::max(frameCount, static_cast<int32_t>(frame));
  }
  for (int32_t i = 0; i < static_cast<int32_t>(packets.size()); ++i) {
    if (packets[static_cast<size_t>(i)].key) keys.push_back(i);
    longest = std::max(longest, i - (keys.empty() ? 0 : keys.back()) + 1);
  }
}

int32_t VideoIndex::packetOfFrame(int32_t frame) const {
  const auto after = std::upper_bound(frameAt.begin(), frameAt.end(), frame);
  return after == frameAt.begin() ? -1 : packetAt[static_cast<size_t>(after - frameAt.begin() - 1)];
}

int32_t VideoIndex::keyFor(int32_t packet) const {
  auto after = std::upper_bound(keys.begin(), keys.end(), packet);
  for (; after != keys.begin(); --after) {
    const int32_t key = *(after - 1);
    if (positionOf[static_cast<size_t>(key)] <= positionOf[static_cast<size_t>(packet)]) return key;
  }
  return 0;
}

int32_t VideoIndex::keyBefore(int32_t key) const {
  const auto at = std::lower_bound(keys.begin(), keys.end(), key);
  return at == keys.begin() ? -1 : *(at - 1);
}

VideoIndex::Steps VideoIndex::stepsOfTime() const {
  Steps steps;
  for (size_t i = 0; i < packetAt.size(); ++i) {
    const int64_t time = packets[static_cast<size_t>(packetAt[i])].showTime;
    if (time == AV_NOPTS_VALUE) return {};
    if (i == 0) continue;
    const int64_t step = time - packets[static_cast<size_t>(packetAt[i - 1])].showTime;
    steps.least = i == 1 ? step : std::min(steps.least, step);
    steps.greatest = std::max(steps.greatest, step);
    steps.all += step;
  }
  return steps;
}

bool indexAvi(const FileBytes& file, const AviHeader& header, int32_t stream, const AVStream& described,
              VideoIndex& index) {
  if (header.firstChunk == 0) return false;
  auto& packets = index.packets;
  takeEntries(file, stream, described, packets);
  const size_t indexed = packets.size();
  const int64_t chunks = takeChunks(file, header, stream, index);
  if (packets.empty()) return false;
  // The first chunk may stand for a later time; it is frame 0 all the same.
  const size_t number = static_cast<size_t>(stream);
  const StreamFacts facts = number < header.streams.size() ? header.streams[number] : StreamFacts();
  const int64_t start = indexed > 0 ? facts.start : 0;
  const int64_t base = std::min(packets.front().decodeTime, start);
  index.missing = std::max<int64_t>(0, facts.length - (chunks - base));
  for (PacketRecord& packet : packets) packet.decodeTime -= base;
  const AVCodecID codec = described.codecpar->codec_id;
  if (reorders(codec)) lookAtPictures(file, *described.codecpar, indexed, packets);
  settleKeys(packets, codec);
  index.arrange(reorders(codec), true);
  return true;
}

namespace {

// The frames that a container tells of in its table of them; 0 where it has none.
int64_t toldFrames(const AVStream& stream) {
  const int entries = avformat_index_get_entries_count(&stream);
  return entries > 0 ? std::min<int64_t>(stream.nb_frames, entries) : stream.nb_frames;
}

// Those behind the last one found, by how long the one stream is said to last.
int64_t missingByTime(const AVFormatContext& format, const AVStream& stream, const VideoIndex& index,
                      int64_t lastStep) {
  const VideoIndex::Steps steps = index.stepsOfTime();
  if (format.nb_streams != 1 || format.duration <= 0 || steps.all <= 0) return 0;
  int64_t last = INT64_MIN;
  for (const PacketRecord& each : index.packets) last = std::max(last, each.showTime);
  const int64_t end = av_rescale_q(format.duration, {1, AV_TIME_BASE}, stream.time_base);
  const auto mean = static_cast<double>(steps.all) / std::max(1, index.frames() - 1);
  const auto left = static_cast<double>(end - last - std::max(lastStep, steps.greatest));
  return std::max<int64_t>(0, std::llround(left / mean));
}

// Two ticks are what a container's own clock makes of an even step.
bool areUneven(const VideoIndex::Steps& steps, int32_t images) {
  constexpr double kTicks = 2, kPart = 0.1;
  if (images < 3 || steps.all <= 0) return false;
  const double mean = static_cast<double>(steps.all) / (images - 1), most = std::max(kTicks, kPart * mean);
  return static_cast<double>(steps.greatest) - mean > most || mean - static_cast<double>(steps.least) > most;
}

}  // namespace

void indexByReading(AVFormatContext& format, const AVStream& stream, VideoIndex& index) {
  const int64_t told = toldFrames(stream);
  bool whole = true;  // the packet before
  int64_t lastStep = 0;
  PictureParser parser(*stream.codecpar);
  const Packet packet(av_packet_alloc());
  const auto most = static_cast<uint64_t>(std::min<int64_t>(avio_size(format.pb), INT32_MAX));
  const bool parsed = reorders(stream.codecpar->codec_id) || stream.codecpar->codec_id == AV_CODEC_ID_VP8;
  while (packet && index.packets.size() < most && av_read_frame(&format, packet.get()) >= 0) {
    if (packet->stream_index == stream.index) {
      PacketRecord record;
      record.place = packet->pos;
      record.decodeTime = packet->dts;
      record.showTime = packet->pts;
      record.bytes = packet->size;
      const bool key = packet->flags & AV_PKT_FLAG_KEY;
      record.key = key;
      if (packet->size == 0) record.role = PacketRole::Repeat;
      if (parsed) parser.look(*packet, record);
      record.key = record.key && key;
      whole = !(packet->flags & AV_PKT_FLAG_CORRUPT);
      lastStep = packet->duration;
      index.packets.push_back(record);
    }
    av_packet_unref(packet.get());
  }
  if (!whole) index.packets.pop_back();  // the file ends within it
  index.cutOff = !whole;
  settleKeys(index.packets, stream.codecpar->codec_id);
  index.arrange(reorders(stream.codecpar->codec_id), false);
  index.missing = told > 0 ? std::max<int64_t>(0, told - static_cast<int64_t>(index.packets.size()))
                           : missingByTime(format, stream, index, lastStep);
  if (const VideoIndex::Steps steps = index.stepsOfTime(); areUneven(steps, index.frames()))
    index.unevenSteps = steps;
}

}  // namespace tarnvisor
