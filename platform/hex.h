// Bytes as text.
#pragma once

#include <cstddef>
#include <string>

// Two lowercase hexadecimal digits for each of the `count` bytes, in their order.
[[nodiscard]] inline std::string LowercaseHex(const unsigned char* bytes, std::size_t count) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += digits[bytes[i] / 16];
    text += digits[bytes[i] % 16];
  }
  return text;
}
