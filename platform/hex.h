// Bytes as text.
#pragma once

#include <cstddef>
#include <string>

// Two lowercase hexadecimal digits for each of the `count` bytes, in their order.
[[nodiscard]] inline std::string LowercaseHex(const unsigned char* bytes, std::size_t count) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t half = 0; half < 2 * count; ++half) {
    const unsigned byte = bytes[half / 2];
    text += digits[half % 2 == 0 ? byte / 16 : byte % 16];
  }
  return text;
}
