// What the update of a component costs against `curl` to a file and then `md5sum` of it, from the
// same server in the same run: update_cost RUNS FILENAME VERSION MD5 URL
// Prints the CPU time of each in milliseconds, the median of their ratio and the peak of memory.
// Needs the device's identity and a stand-in cloud: scripts/update-cost provides them.
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "cloud/http_request.h"
#include "component/component.h"

namespace {

double Milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double CpuMs(int who) {
  rusage usage = {};
  (void)getrusage(who, &usage);
  return Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime);
}

// Runs `work` and returns what it added to the CPU time of `who`; exits when it fails.
template <typename Work>
double Cost(int who, const Work& work) {
  const double before = CpuMs(who);
  if (!work()) {
    (void)std::fputs("the update failed\n", stderr);
    std::exit(1);
  }
  return CpuMs(who) - before;
}

bool Runs(const std::string& command) { return std::system(command.c_str()) == 0; }

}  // namespace

int main(int count, char** values) {
  if (count != 6) return 2;
  const Component component = {"app", values[2], "/opt/app/component", values[3], values[4]};
  const std::string fetch =
      std::string("curl --silent --cacert /tmp/cacert.pem --output /opt/plain ") + values[5];
  if (HttpRequest::Instance()->Init() != 0 || !Runs("mkdir -p /opt/app")) return 1;

  std::vector<double> ratios;
  for (int run = 0; run < std::atoi(values[1]); ++run) {
    const double plain = Cost(
        RUSAGE_CHILDREN, [&] { return Runs(fetch) && Runs("md5sum /opt/plain >/opt/plain.md5"); });
    const double update =
        Cost(RUSAGE_SELF, [&] { return component.DownloadToPath(component.localpath) == 0; });
    ratios.push_back(update / plain);
    (void)std::fprintf(stderr, "update %.0f ms, curl and md5sum %.0f ms, ratio %.2f\n", update,
                       plain, ratios.back());
  }
  std::sort(ratios.begin(), ratios.end());
  rusage usage = {};
  (void)getrusage(RUSAGE_SELF, &usage);
  (void)std::fprintf(stderr, "median ratio %.2f, peak memory %.1f MiB\n", ratios[ratios.size() / 2],
                     static_cast<double>(usage.ru_maxrss) / 1024);
  return 0;
}
