#include <ctime>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/text.h"

namespace doctor {

namespace {

constexpr std::int64_t builtSec = TOLVAR_BUILT_SEC;
constexpr std::int64_t last32BitSec = 0x7fffffff;

// `kernelSec`, `productSec`: now as the kernel and as the product's code have it, in seconds since
// the epoch.
Finding Judge(std::int64_t kernelSec, std::int64_t productSec) {
  const std::string day = Day(kernelSec);
  if (kernelSec < builtSec) {
    return Bad(day + ", before this was built (" + Day(builtSec) +
                   "): certificates are refused, heartbeats jump when it is set",
               "set the clock before the host starts");
  }
  if (kernelSec > last32BitSec && sizeof(void*) < 8) {
    return Bad(day + ", past what 32-bit libraries can count: TLS refuses certificates",
               "set the clock; from 2038-01-19 on, a userland with 64-bit time is needed");
  }
  if (productSec < kernelSec - 1 || productSec > kernelSec + 1) {
    return Bad(day + ", but the supervisor reads " + Day(productSec),
               "use a C++ library with 64-bit time");
  }
  return Ok(day + ", after this was built (" + Day(builtSec) + ")");
}

}  // namespace

Finding CheckClock(const Options& /*options*/) {
  timespec now = {};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
    return Bad("the kernel tells no time", "set the clock");
  }
  return Judge(now.tv_sec, NowSeconds());
}

}  // namespace doctor
