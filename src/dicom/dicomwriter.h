// Pictures as DICOM files that any viewer and archive takes: a secondary capture of one picture, or of many.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "base/outcome.h"
#include "dicom/dicomfacts.h"
#include "image/zzimage.h"
#include "video/framesink.h"

namespace tarnvisor {

class DicomWriter final : public FrameSink {
 public:
  // Of so many pictures of that size. Null on failure: `why` says what failed.
  static std::unique_ptr<DicomWriter> create(const std::string& path, const DicomFacts& facts, Size size,
                                             bool colour, int32_t frames, std::string& why);
  bool write(const uint8_t* rows, int32_t stride) override;
  bool close() override;
  bool failed() const override { return !trouble.empty(); }
  const std::string& why() const override { return trouble; }

 private:
  DicomWriter() = default;
  bool fail();
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, CloseFile> file;
  Size extent;
  bool colours = false;
  int32_t frames = 0, written = 0;
  std::vector<uint8_t> row;
  std::string trouble;
};

// One picture, as it is seen. A file of that name is replaced once the new one is whole.
[[nodiscard]] Outcome exportDicom(const CZZimage& image, const DicomFacts& facts, const std::string& path);

}  // namespace tarnvisor
