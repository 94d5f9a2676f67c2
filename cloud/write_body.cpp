#include "cloud/write_body.h"

#include <algorithm>
#include <cstdint>

#include "cloud/session.h"
#include "platform/attempt.h"
#include "platform/memory.h"

namespace {

// Bodies up to this size are not worth asking for.
constexpr std::uint64_t smallBytes = 1U << 20U;

// How many bytes there should be room for when `count` more are to come into the full `body`.
// Growing step by step would copy an announced body over and over and take twice its size. The one
// byte more is for who makes a text of it.
std::uint64_t Wanted(const std::vector<char>& body, std::size_t count) {
  const std::uint64_t needed = std::uint64_t{body.size()} + count;
  const curl_off_t announced = Session::AnnouncedBytes();
  if (announced > 0 && static_cast<std::uint64_t>(announced) >= needed) {
    return static_cast<std::uint64_t>(announced) + 1;
  }
  return std::max(needed, 2 * std::uint64_t{body.size()});
}

// False when the memory for it is not there. What a doubled body takes beyond its size is the same
// while it is copied, with the old one still there, as when it is full.
[[nodiscard]] bool MakeRoom(std::vector<char>& body, std::size_t count) {
  const std::uint64_t wanted = Wanted(body, count);
  if (wanted > smallBytes && !MemoryHolds(wanted - body.size())) return false;
  if (wanted > body.max_size()) return true;  // announced beyond all reason: left to the growing
  // So is what the C library does not hold.
  (void)Attempt([&body, wanted] { body.reserve(static_cast<std::size_t>(wanted)); });
  return true;
}

}  // namespace

std::size_t WriteBodyCallback(const char* data, std::size_t size, std::size_t nmemb,
                              std::vector<char>* body) noexcept {
  const std::size_t count = size * nmemb;
  if (body->capacity() - body->size() < count && !MakeRoom(*body, count)) return 0;
  // Appending instead of resizing spares zeroing each byte before it is overwritten.
  const bool appended = Attempt([=] { body->insert(body->end(), data, data + count); });
  return appended ? count : 0;
}
