// The device's manifests carry MD5, and OpenSSL's one-shot calls are the plain ones for it.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "component/integrity.h"

#include <openssl/md5.h>

#include <array>
#include <fstream>

#include "platform/hex.h"
#include "platform/log.h"

namespace {

using Digest = std::array<unsigned char, MD5_DIGEST_LENGTH>;

Digest Md5Of(std::ifstream& file) {
  std::array<char, 1024> buffer = {};
  Digest digest = {};
  MD5_CTX context;
  // The three calls fail only for a provider that is not asked here.
  (void)MD5_Init(&context);
  while (file.read(buffer.data(), buffer.size()), file.gcount() > 0) {
    (void)MD5_Update(&context, buffer.data(), static_cast<std::size_t>(file.gcount()));
  }
  (void)MD5_Final(digest.data(), &context);
  return digest;
}

}  // namespace

bool CheckIntegrity(const std::string& path, const std::string& checksum) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    Log("Failed to open file " + path);
    return false;
  }
  const Digest digest = Md5Of(file);
  const std::string computed = LowercaseHex(digest.data(), digest.size());
  Log("CheckIntegrity " + computed + " vs. " + checksum);
  return computed == checksum;
}
