// Decoded frames as grey or as blue, green and red bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "ffmpeg/ffmpeghandles.h"

namespace tarnvisor {

class FramePixels {
 public:
  // Whether frames of this form can become colours or grey at all.
  static bool takes(AVPixelFormat form);

  // Rows from the top into target, stride bytes apart. False when the form of the frame's pixels is not
  // known; target is then unchanged.
  bool toGrey(const AVFrame& frame, uint8_t* target, int32_t stride);
  bool toColour(const AVFrame& frame, uint8_t* target, int32_t stride);
  // Whether a frame that came as grey had colours, which were weighed.
  bool hasWeighedColours() const { return weighed; }

 private:
  bool scale(const AVFrame& frame, uint8_t* target, int32_t stride);

  ffmpeg::Scaler scaler;
  AVPixelFormat scalerForm = AV_PIX_FMT_NONE;  // what it was made for
  AVColorSpace scalerSpace = AVCOL_SPC_UNSPECIFIED;
  bool scalerFull = false;
  bool weighed = false;
  std::vector<uint8_t> colours;
};

}  // namespace tarnvisor
