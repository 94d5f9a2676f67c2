#include "platform/digest.h"

#include <openssl/evp.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <new>

#include "platform/hex.h"

namespace {

struct ContextFree {
  void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};

// Not on the stack, which a host may have made small.
using Block = std::array<unsigned char, 32768>;

void Feed(EVP_MD_CTX* context, int descriptor) {
  const auto block = std::make_unique<Block>();
  for (;;) {
    const ssize_t count = read(descriptor, block->data(), block->size());
    if (count <= 0) return;
    // Hashing what is in memory does not fail.
    (void)EVP_DigestUpdate(context, block->data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

std::string Md5OfDescriptor(int descriptor) {
  const std::unique_ptr<EVP_MD_CTX, ContextFree> context(EVP_MD_CTX_new());
  if (!context) throw std::bad_alloc();
  if (EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) != 1) return "";
  Feed(context.get(), descriptor);
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
  unsigned length = 0;
  if (EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1) return "";
  return LowercaseHex(digest.data(), length);
}
