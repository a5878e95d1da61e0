#include "base/checksum.h"

#include <openssl/evp.h>

#include <array>

#include "base/text.h"

namespace tarnvisor {

struct Sha256::State {
  EVP_MD_CTX* sum = EVP_MD_CTX_new();
};

Sha256::Sha256() : state(std::make_unique<State>()) { EVP_DigestInit_ex(state->sum, EVP_sha256(), nullptr); }
Sha256::~Sha256() { EVP_MD_CTX_free(state->sum); }

void Sha256::add(std::string_view bytes) { EVP_DigestUpdate(state->sum, bytes.data(), bytes.size()); }

std::string Sha256::digits() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned int count = 0;
  EVP_DigestFinal_ex(state->sum, bytes.data(), &count);
  std::string text;
  for (unsigned int i = 0; i < count; ++i) text += format("%02x", bytes[i]);
  return text;
}

std::string sha256(std::string_view bytes) {
  Sha256 sum;
  sum.add(bytes);
  return sum.digits();
}

}  // namespace tarnvisor
