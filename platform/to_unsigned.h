// The conversion of JSON numbers, defined for every input.
#pragma once

#include <cstdint>
#include <limits>

// `value` as an unsigned 32-bit number, as the target's own conversion gives it: truncated toward
// zero; a negative one in two's complement, from 2^32 on 4294967295, and below -2^31 2147483647,
// which is the answer of the target's floating-point unit. A plain cast is undefined outside the
// range and gives something else on every machine.
[[nodiscard]] constexpr std::uint32_t ToUnsigned(double value) {
  constexpr double twoTo31 = 2147483648.0;
  constexpr double twoTo32 = 4294967296.0;
  if (!(value < twoTo32)) return std::numeric_limits<std::uint32_t>::max();
  if (value >= 0) return static_cast<std::uint32_t>(value);
  if (value <= -twoTo31 - 1) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(value));
}
