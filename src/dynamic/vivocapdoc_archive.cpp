// The stored form, all versions.
#include <bit>
#include <cstring>

#include "archive/archive.h"
#include "dynamic/vivocapdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr int32_t kStoredVersion = 6;
constexpr int32_t kFieldsPerSecond = 2;  // written since the rate has a field of its own
constexpr int32_t kOldestFieldsPerSecond = 50;
constexpr int32_t kColourFields = 59;  // 59.94, cut
constexpr double kColourRate = 29.97002997002997;
static_assert(std::endian::native == std::endian::little, "the table is stored as it stands in memory");

double rateOf(int32_t fieldsPerSecond) {
  return fieldsPerSecond == kColourFields ? kColourRate : fieldsPerSecond * 0.5;
}

// What a count tells of must be there before memory is taken.
size_t countedItems(const Archive& archive, int32_t count, size_t itemBytes) {
  if (count < 0 || static_cast<uint64_t>(count) * itemBytes > archive.remaining())
    throw ArchiveException("the video's table is damaged");
  return static_cast<size_t>(count);
}

}  // namespace

void CVivoCapDoc::serialize(Archive& archive) {
  ZBasicDoc::serialize(archive);
  if (archive.isStoring()) return storeVideo(archive);
  loadVideo(archive);
  updatePlayPeriod();
}

void CVivoCapDoc::storeVideo(Archive& archive) {
  archive.putInt(kStoredVersion);
  archive.putInt(frameCount);
  archive.putInt(skipFrames);
  archive.putInt(interlaced);
  archive.writeString(moviePath);
  archive.putInt(compressoutput);
  archive.writeString(settings.getString("directories", "tempdir", ""));
  archive.putInt(kFieldsPerSecond);
  archive.writeString(resultsPath);
  static const FrameTable none;
  const FrameTable& table = movie ? movie->frameTable : none;
  archive.putInt(static_cast<int32_t>(table.size()));
  archive.putInt(static_cast<int32_t>(table.size() * sizeof(FrameRecord)));
  archive.write(table.data(), table.size() * sizeof(FrameRecord));
  archive.putInt(static_cast<int32_t>(spotVelocities.size()));
  for (const double velocity : spotVelocities) archive.putDouble(velocity);
  archive.putDouble(fps);
  overlayTraces.serialize(archive);
}

void CVivoCapDoc::loadVideo(Archive& archive) {
  const int32_t version = archive.getInt();
  frameCount = archive.getInt();
  skipFrames = archive.getInt();
  interlaced = archive.getInt();
  moviePath = archive.readString();
  archive.getInt();
  archive.readString();
  fps = rateOf(version >= 2 ? archive.getInt() : kOldestFieldsPerSecond);
  if (version >= 3) resultsPath = archive.readString();
  if (version >= 4) {
    const int32_t count = archive.getInt();
    const int32_t bytes = archive.getInt();
    FrameTable table(countedItems(archive, count, sizeof(FrameRecord)));
    if (static_cast<size_t>(bytes) != table.size() * sizeof(FrameRecord))
      throw ArchiveException("the video's table is damaged");
    if (!table.empty()) archive.read(table.data(), table.size() * sizeof(FrameRecord));
    freshMovie().frameTable = std::move(table);
  }
  if (version >= 5) {
    spotVelocities.resize(countedItems(archive, archive.getInt(), sizeof(double)));
    for (double& velocity : spotVelocities) velocity = archive.getDouble();
  }
  if (version >= 6) fps = archive.getDouble();
  if (!(fps > 0 && fps < 1e6)) fps = rateOf(kOldestFieldsPerSecond);
  // Files of the first versions may end here.
  if (archive.remaining() > 0) overlayTraces.serialize(archive);
  if (takeLowMemory()) report(kLowMemory);
}

}  // namespace tarnvisor
