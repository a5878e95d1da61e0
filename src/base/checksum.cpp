#include "base/checksum.h"

#include <glib.h>

namespace tarnvisor {

std::string sha256(std::string_view bytes) {
  gchar* digits = g_compute_checksum_for_data(G_CHECKSUM_SHA256,
                                              reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
  std::string text = digits ? digits : "";
  g_free(digits);
  return text;
}

}  // namespace tarnvisor
