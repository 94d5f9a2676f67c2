// Preloaded: the wall clock stands at the second that CLOCK_AT_SEC names.
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

// Compiled with 64-bit time this defines what callers with 64-bit time call; on 32 bits the others,
// the C++ library's clock for one, go on with the real one.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* now) noexcept {
  const char* at = std::getenv("CLOCK_AT_SEC");
  now->tv_sec = clock == CLOCK_REALTIME && at != nullptr ? std::atoll(at) : 0;
  now->tv_nsec = 0;
  return 0;
}
