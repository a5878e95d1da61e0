#include "base/checksum.h"

#include <glib.h>

namespace tarnvisor {

struct Sha256::State {
  GChecksum* sum = g_checksum_new(G_CHECKSUM_SHA256);
};

Sha256::Sha256() : state(std::make_unique<State>()) {}
Sha256::~Sha256() { g_checksum_free(state->sum); }

void Sha256::add(std::string_view bytes) {
  g_checksum_update(state->sum, reinterpret_cast<const guchar*>(bytes.data()),
                    static_cast<gssize>(bytes.size()));
}

std::string Sha256::digits() { return g_checksum_get_string(state->sum); }

std::string sha256(std::string_view bytes) {
  Sha256 sum;
  sum.add(bytes);
  return sum.digits();
}

}  // namespace tarnvisor
