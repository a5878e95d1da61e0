// The stored form, all versions.
#include "archive/archive.h"
#include "base/text.h"
#include "imagedoc/magnification.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {
constexpr int32_t kStoredVersion = 11;
}  // namespace

void ZBasicDoc::serialize(Archive& archive) {
  if (archive.isStoring())
    storeFields(archive);
  else
    loadFields(archive);
  hideLists();
}

void ZBasicDoc::storeFields(Archive& archive) {
  dropStaleResult();
  originx = theImage() ? theImage()->xOrigin : 0;
  originy = theImage() ? theImage()->yOrigin : 0;
  archive.putInt(kStoredVersion);
  archive.putPoint(target);
  archive.putInt(showtarget);
  archive.putDouble(magx);
  archive.putDouble(magy);
  archive.putInt(calibrated);
  archive.writeString(userunits);
  archive.putPoint(imageoffset);
  archive.putRect(roi);
  archive.putRect(roicircle);
  archive.writeString(imagefile);
  archive.putInt(capturetime);
  archive.writeString(notes);
  archive.putInt(gridstyle);
  archive.putInt(gridunits);
  archive.putInt(gridshow);
  archive.putDouble(gridspacing);
  archive.putDword(gridcolour);
  archive.writeString(userfilename);
  archive.putInt(kListCount);
  archive.putInt(colourset);
  // Written as -1 when set and read as set when 0: each save and load turns the flag over. Files depend on
  // it.
  archive.putInt(zeroasblack ? -1 : 0);
  archive.writeString(magname);
  archive.putInt(magindex);
  archive.writeString(stationIdFirst);
  archive.putInt(originx);
  archive.putInt(originy);
  storeLists(archive);
  CdbDocument::serialize(archive);
}

void ZBasicDoc::loadFields(Archive& archive) {
  const int32_t version = archive.getInt();
  target = archive.getPoint();
  showtarget = archive.getInt();
  magx = archive.getDouble();
  magy = archive.getDouble();
  calibrated = archive.getInt();
  userunits = archive.readString();
  dropBadScale();
  imageoffset = archive.getPoint();
  roi = archive.getRect();
  roicircle = archive.getRect();
  imagefile = archive.readString();
  if (version > 1) {
    capturetime = archive.getInt();
    notes = archive.readString();
  }
  if (version > 2) {
    gridstyle = archive.getInt();
    gridunits = archive.getInt();
    gridshow = archive.getInt();
    gridspacing = archive.getDouble();
    gridcolour = archive.getDword();
  }
  if (version > 3) userfilename = archive.readString();
  loadGridMetafile();
  const int32_t count = version > 5 ? archive.getInt() : 0;
  if (version > 6) {
    colourset = archive.getInt();
    zeroasblack = archive.getInt() == 0;
  }
  if (version > 7) {
    magname = archive.readString();
    magindex = archive.getInt();
  }
  const std::string firstStation = version > 9 ? archive.readString() : "version <=9";
  if (version <= 9 || stationIdFirst.empty()) stationIdFirst = firstStation;
  originx = version > 10 ? archive.getInt() : 0;
  originy = version > 10 ? archive.getInt() : 0;
  loadLists(archive, version, count);
  takeRejectedMarks();
  if (version > 8) {
    const std::string kept = stationIdFirst;
    CdbDocument::serialize(archive);
    if (version <= 9) stationIdFirst = kept;
  }
}

// What measures would come of it is worse than pixels.
void ZBasicDoc::dropBadScale() {
  if (isScale(magx) && isScale(magy)) return;
  const std::string told = format("%g by %g", magx, magy);
  magx = magy = 1.0;
  if (!calibrated) return;
  calibrated = 0;
  report("The stored scale of " + told + " is none: the image is measured in pixels.");
}

void ZBasicDoc::loadLists(Archive& archive, int32_t version, int32_t count) {
  if (version >= 6) {
    if (count > kListCount) tookOnlyAPart("it has more lists than nine");
    for (int32_t i = 0; i < std::min<int32_t>(count, kListCount); ++i)
      dimlists[static_cast<size_t>(i)].serialize(archive);
    return;
  }
  dimlists[kPlainList].serialize(archive);
  if (version == 5) dimlists[kFcdList].serialize(archive);
}

void ZBasicDoc::hideLists() { dimlists[kAmcList].hidden = dimlists[kDustList].hidden = 1; }

}  // namespace tarnvisor
