#include "image/jpegcheck.h"

#include <csetjmp>
#include <cstdio>
extern "C" {
#include <jpeglib.h>  // uses what stdio declares
}

namespace tarnvisor {

namespace {

struct Problems {
  jpeg_error_mgr manager;  // first: the library knows this part alone
  std::jmp_buf out;
  bool isDamaged;
};

Problems& problemsOf(j_common_ptr codec) { return *reinterpret_cast<Problems*>(codec->err); }
void leave(j_common_ptr codec) { std::longjmp(problemsOf(codec).out, 1); }
void note(j_common_ptr codec, int level) {
  if (level < 0) problemsOf(codec).isDamaged = true;
}
void keepSilent(j_common_ptr) {}

}  // namespace

bool isDamagedJpeg(std::span<const uint8_t> bytes) {
  jpeg_decompress_struct codec{};
  Problems problems{};
  codec.err = jpeg_std_error(&problems.manager);
  problems.manager.error_exit = leave;
  problems.manager.emit_message = note;
  problems.manager.output_message = keepSilent;
  // Nothing with a destructor may stand below: the library leaves by a jump.
  volatile bool isKnown = false;
  if (setjmp(problems.out) == 0) {
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, bytes.data(), bytes.size());
    jpeg_read_header(&codec, TRUE);
    isKnown = true;
    jpeg_read_coefficients(&codec);
    jpeg_finish_decompress(&codec);
  } else {
    problems.isDamaged = isKnown;
  }
  jpeg_destroy_decompress(&codec);
  return problems.isDamaged;
}

}  // namespace tarnvisor
