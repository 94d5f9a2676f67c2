// The devices' manifests carry MD5. OpenSSL's plain calls for it cannot fail and take no memory, as
// its newer ones do, and the library is 900 bytes smaller with them.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "platform/digest.h"

#include <openssl/md5.h>

#include <array>
#include <memory>

#include "platform/descriptor.h"
#include "platform/hex.h"

namespace {

using Block = std::array<unsigned char, 32768>;

void Feed(MD5_CTX& context, int descriptor) {
  const auto block = std::make_unique<Block>();  // a host may have made its stack small
  for (;;) {
    const ssize_t count =
        Uninterrupted([&] { return read(descriptor, block->data(), block->size()); });
    if (count <= 0) return;
    (void)MD5_Update(&context, block->data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

std::string Md5OfDescriptor(int descriptor) {
  std::array<unsigned char, MD5_DIGEST_LENGTH> digest = {};
  MD5_CTX context;
  (void)MD5_Init(&context);  // none of the three fails
  Feed(context, descriptor);
  (void)MD5_Final(digest.data(), &context);
  return LowercaseHex(digest.data(), digest.size());
}
