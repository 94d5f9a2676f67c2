#include "tools/cloud/digest.h"

#include <openssl/evp.h>

#include <array>
#include <fstream>
#include <memory>
#include <new>

#include "platform/hex.h"

namespace standin {
namespace {

struct EvpContextFree {
  void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};
using EvpContext = std::unique_ptr<EVP_MD_CTX, EvpContextFree>;

}  // namespace

std::optional<FileDigest> DigestOf(const std::filesystem::path& file) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return std::nullopt;
  std::ifstream input(file, std::ios::binary);
  if (!input) return std::nullopt;
  const EvpContext context(EVP_MD_CTX_new());
  if (!context) throw std::bad_alloc();
  if (EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) != 1) return std::nullopt;

  FileDigest digest;
  std::array<char, std::size_t{64} * 1024> block;
  while (input.read(block.data(), block.size()), input.gcount() > 0) {
    const auto count = static_cast<std::size_t>(input.gcount());
    if (EVP_DigestUpdate(context.get(), block.data(), count) != 1) return std::nullopt;
    digest.bytes += count;
  }
  if (input.bad()) return std::nullopt;
  std::array<unsigned char, EVP_MAX_MD_SIZE> value;
  unsigned length = 0;
  if (EVP_DigestFinal_ex(context.get(), value.data(), &length) != 1) return std::nullopt;
  digest.md5 = LowercaseHex(value.data(), length);
  return digest;
}

}  // namespace standin
