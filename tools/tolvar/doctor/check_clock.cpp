#include <ctime>

#include "supervisor/to_string.h"
#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/judge_clock.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/text.h"

namespace doctor {

Finding JudgeClock(std::int64_t kernelSec, std::int64_t productSec, std::int64_t builtSec,
                   std::size_t pointerBytes) {
  constexpr std::int64_t last32BitSec = 0x7fffffff;
  const std::string day = Day(kernelSec);
  if (kernelSec < builtSec) {
    return Bad(day + ", before this was built (" + Day(builtSec) +
                   "): certificates are refused, heartbeats jump when it is set",
               "set the clock before the host starts");
  }
  if (kernelSec > last32BitSec && pointerBytes < 8) {
    return Bad(day + ", past what 32-bit libraries can count: TLS refuses certificates",
               "set the clock; from 2038-01-19 on, a userland with 64-bit time is needed");
  }
  if (productSec < kernelSec - 1 || productSec > kernelSec + 1) {
    return Bad(day + ", but the supervisor reads " + Day(productSec),
               "use a C++ library with 64-bit time");
  }
  return Ok(day + ", after this was built (" + Day(builtSec) + ")");
}

Finding CheckClock(const Options& /*options*/) {
  timespec now = {};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
    return Bad("the kernel tells no time", "set the clock");
  }
  return JudgeClock(now.tv_sec, NowSeconds(), TOLVAR_BUILT_SEC, sizeof(void*));
}

}  // namespace doctor
