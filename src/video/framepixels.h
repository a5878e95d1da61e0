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
  // Levels of more than 8 bits: the bits that their most are told in, whose upper 8 are given. Without a call
  // all that the form has.
  void setDepth(int bits) { depth = bits; }
  // The greatest level of a grey frame of more than 8 bits, and in how many it is stored; nothing of others.
  struct Deep {
    int greatest = 0, bits = 0;
  };
  static Deep deepLevelsOf(const AVFrame& frame);
  // Whether a frame that came as grey had colours, which were weighed.
  bool hasWeighedColours() const { return weighed; }

 private:
  bool scale(const AVFrame& frame, uint8_t* target, int32_t stride);
  bool copyLevels(const AVFrame& frame, uint8_t* target, int32_t stride) const;

  ffmpeg::Scaler scaler;
  AVPixelFormat scalerForm = AV_PIX_FMT_NONE;  // what it was made for
  AVColorSpace scalerSpace = AVCOL_SPC_UNSPECIFIED;
  bool scalerFull = false;
  bool weighed = false;
  int depth = 0;
  std::vector<uint8_t> colours;
};

}  // namespace tarnvisor
