#include "component/slots.h"

#include <array>
#include <cinttypes>
#include <cstdio>

#include "platform/files.h"

const std::string sdCardRoot = "/media/mmc/";

namespace {

std::uint32_t ByteAt(const std::string& text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

std::uint32_t LittleEndianWordAt(const std::string& text, std::size_t index) {
  return ByteAt(text, index) | ByteAt(text, index + 1) << 8 | ByteAt(text, index + 2) << 16 |
         ByteAt(text, index + 3) << 24;
}

// The 32-bit target's own string hash (MurmurHash2), spelled out so that a slot keeps its name
// wherever and with whatever library the supervisor is built.
std::uint32_t SlotHash(const std::string& path) {
  constexpr std::uint32_t multiplier = 0x5bd1e995;
  std::size_t left = path.size();
  std::size_t at = 0;
  std::uint32_t hash = 0xc70f6907U ^ static_cast<std::uint32_t>(left);
  for (; left >= 4; left -= 4, at += 4) {
    std::uint32_t word = LittleEndianWordAt(path, at) * multiplier;
    word ^= word >> 24;
    hash = hash * multiplier ^ word * multiplier;
  }
  if (left >= 3) hash ^= ByteAt(path, at + 2) << 16;
  if (left >= 2) hash ^= ByteAt(path, at + 1) << 8;
  if (left >= 1) hash = (hash ^ ByteAt(path, at)) * multiplier;
  hash ^= hash >> 13;
  hash *= multiplier;
  return hash ^ hash >> 15;
}

}  // namespace

bool SDCardMounted() { return DirExists(sdCardRoot); }

std::string PreDownloadPath(const std::string& path) { return path + ".predownload"; }

std::string CachedPath(const std::string& path) {
  std::array<char, 9> name = {};  // no leading zeros
  (void)std::snprintf(name.data(), name.size(), "%" PRIx32, SlotHash(path));
  return sdCardRoot + ".ota/" + name.data();
}
