// Pictures of one size and kind that a file of another program holds one after the other; one at a time is in
// memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/toldscale.h"
#include "image/zzimage.h"

namespace tarnvisor {

class StillSequence {
 public:
  StillSequence() = default;
  virtual ~StillSequence() = default;
  StillSequence(const StillSequence&) = delete;
  StillSequence& operator=(const StillSequence&) = delete;

  virtual int32_t frames() const = 0;  // at least 1
  virtual Size size() const = 0;
  virtual int32_t colourset() const = 0;  // kGrey or kColour
  // Makes the image that picture. False where it can't be read: the image is then as it was.
  [[nodiscard]] virtual bool read(int32_t index, CZZimage& image) = 0;
  virtual const ToldScale& scale() const = 0;
  // Who is shown, as the file names that subject; empty where it names none.
  virtual std::string subject() const { return {}; }
  // A sentence about pictures that the file tells of and has not; empty where all are there.
  virtual std::string shortage() const { return {}; }
  // What else is to be known of the pictures, in lines for the notes.
  virtual std::vector<std::string> remarks() const { return {}; }
};

}  // namespace tarnvisor
