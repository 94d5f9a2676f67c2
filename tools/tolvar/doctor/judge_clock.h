// The judgement of the clock apart from the clock, for the days that no test waits for.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/tolvar/doctor/check.h"

namespace doctor {

// `kernelSec`, `productSec`: now as the kernel and the product's code have it; `builtSec`: when
// this was built; all in seconds since the epoch. `pointerBytes`: of this userland.
[[nodiscard]] Finding JudgeClock(std::int64_t kernelSec, std::int64_t productSec,
                                 std::int64_t builtSec, std::size_t pointerBytes);

}  // namespace doctor
