// Owners of FFmpeg's objects, and the one way a format is opened: on bytes that are handed over here, so that
// a name can never be taken for an address, a pattern or a list of other files.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace tarnvisor::ffmpeg {

template <auto Free>
struct Freed {
  template <class T>
  void operator()(T* p) const {
    Free(&p);
  }
};
using Format = std::unique_ptr<AVFormatContext, Freed<avformat_close_input>>;
using Codec = std::unique_ptr<AVCodecContext, Freed<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Freed<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, Freed<av_frame_free>>;
using Filter = std::unique_ptr<AVBSFContext, Freed<av_bsf_free>>;
struct FreeScaler {
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;
struct CloseParser {
  void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
};
using Parser = std::unique_ptr<AVCodecParserContext, CloseParser>;
struct FreeBytesContext {
  void operator()(AVIOContext* context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
  }
};
using BytesContext = std::unique_ptr<AVIOContext, FreeBytesContext>;

inline constexpr int kReadBlock = 1 << 16;

using ReadBytes = int (*)(void*, uint8_t*, int);
using SeekBytes = int64_t (*)(void*, int64_t, int);
// Null without memory. What `self` points to is borrowed.
inline BytesContext bytesContext(void* self, ReadBytes read, SeekBytes seek) {
  return BytesContext(avio_alloc_context(static_cast<unsigned char*>(av_malloc(kReadBlock)), kReadBlock, 0,
                                         self, read, nullptr, seek));
}

// Null when the bytes are of no kind named in `kinds` (names of demuxers with commas; null: any). The context
// is borrowed. A format that wants to open another file is refused it.
inline Format openFormat(AVIOContext& context, const char* kinds) {
  AVFormatContext* raw = avformat_alloc_context();
  if (!raw) return nullptr;
  raw->pb = &context;
  raw->io_open = [](AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
  };
  AVDictionary* options = nullptr;
  if (kinds) av_dict_set(&options, "format_whitelist", kinds, 0);
  av_dict_set(&options, "protocol_whitelist", "none", 0);
  const int opened = avformat_open_input(&raw, nullptr, nullptr, &options);
  av_dict_free(&options);
  return Format(opened < 0 ? nullptr : raw);
}

// A regular file open for reading, with the place that FFmpeg reads from next.
class FileBytes {
 public:
  explicit FileBytes(const std::string& path)
      : handle(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat facts {};
    if (handle >= 0 && ::fstat(handle, &facts) == 0 && S_ISREG(facts.st_mode)) length = facts.st_size;
  }
  ~FileBytes() {
    if (handle >= 0) ::close(handle);
  }
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  bool isOpen() const { return length >= 0; }
  int64_t size() const { return length; }  // when it was opened
  // False when the file holds fewer bytes there.
  bool readAt(int64_t place, void* target, size_t count) const {
    auto* to = static_cast<uint8_t*>(target);
    while (count > 0) {
      const ssize_t got = ::pread(handle, to, count, place);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      to += got;
      place += got;
      count -= static_cast<size_t>(got);
    }
    return true;
  }

  static int read(void* self, uint8_t* target, int wanted) {
    auto& bytes = *static_cast<FileBytes*>(self);
    const int64_t left = bytes.length - bytes.at;
    const int64_t count = std::min<int64_t>(left, wanted);
    if (count <= 0) return AVERROR_EOF;
    if (!bytes.readAt(bytes.at, target, static_cast<size_t>(count))) return AVERROR(EIO);
    bytes.at += count;
    return static_cast<int>(count);
  }
  static int64_t seek(void* self, int64_t offset, int whence) {
    auto& bytes = *static_cast<FileBytes*>(self);
    if (whence & AVSEEK_SIZE) return bytes.length;
    const int from = whence & ~AVSEEK_FORCE;
    const int64_t base = from == SEEK_SET ? 0 : from == SEEK_CUR ? bytes.at : bytes.length;
    if (offset < -base || offset > bytes.length - base) return AVERROR(EINVAL);
    return bytes.at = base + offset;
  }

 private:
  int handle;
  int64_t length = -1;
  int64_t at = 0;
};

}  // namespace tarnvisor::ffmpeg
