#include "pictureparser.h"

namespace tarnvisor {

using namespace ffmpeg;

namespace {

constexpr int kLongestEmptyPicture = 19;  // an MPEG-4 picture that says "as before"

}  // namespace

Filter unpackingFilter(const AVCodecParameters& codec) {
  const AVBitStreamFilter* kind =
      codec.codec_id == AV_CODEC_ID_MPEG4 ? av_bsf_get_by_name("mpeg4_unpack_bframes") : nullptr;
  AVBSFContext* raw = nullptr;
  if (!kind || av_bsf_alloc(kind, &raw) < 0) return nullptr;
  Filter filter(raw);
  const bool ready = avcodec_parameters_copy(filter->par_in, &codec) >= 0 && av_bsf_init(filter.get()) >= 0;
  return ready ? std::move(filter) : nullptr;
}

bool unpack(AVBSFContext* filter, AVPacket& packet) {
  if (!filter) return true;
  if (av_bsf_send_packet(filter, &packet) < 0) {
    av_packet_unref(&packet);
    return false;
  }
  return av_bsf_receive_packet(filter, &packet) >= 0;
}

PictureParser::PictureParser(const AVCodecParameters& codec)
    : id(codec.codec_id),
      lengthPrefixed(codec.extradata_size > 0 && codec.extradata[0] == 1),
      parser(av_parser_init(codec.codec_id)),
      context(avcodec_alloc_context3(nullptr)),
      filter(unpackingFilter(codec)),
      unpacked(av_packet_alloc()) {
  if (parser) parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  if (context && avcodec_parameters_to_context(context.get(), &codec) < 0) context.reset();
}

bool PictureParser::needsWholePackets() const { return filter || lengthPrefixed; }

void PictureParser::look(const AVPacket& packet, PacketRecord& record) {
  if (packet.size == 0 || !context || !unpacked) return;
  if (id == AV_CODEC_ID_VP8) {
    if (!(packet.data[0] & 0x10)) record.role = PacketRole::Hidden;
    return;
  }
  if (!parser || av_packet_ref(unpacked.get(), &packet) < 0 || !unpack(filter.get(), *unpacked)) return;
  if (id == AV_CODEC_ID_MPEG4 && unpacked->size <= kLongestEmptyPicture) record.role = PacketRole::Repeat;
  parser->pict_type = AV_PICTURE_TYPE_NONE;
  uint8_t* whole = nullptr;
  int bytes = 0;
  av_parser_parse2(parser.get(), context.get(), &whole, &bytes, unpacked->data, unpacked->size,
                   AV_NOPTS_VALUE, AV_NOPTS_VALUE, -1);
  av_packet_unref(unpacked.get());
  if (parser->pict_type == AV_PICTURE_TYPE_NONE) return;
  record.key = parser->key_frame == 1 || (parser->key_frame == -1 && parser->pict_type == AV_PICTURE_TYPE_I);
  record.betweens = parser->pict_type == AV_PICTURE_TYPE_B;
  record.number = parser->output_picture_number;
  record.numbered = id == AV_CODEC_ID_H264 || id == AV_CODEC_ID_HEVC;
}

}  // namespace tarnvisor
