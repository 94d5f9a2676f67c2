#include "tools/host/log_stamper.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <system_error>

namespace {

std::array<int, 2> MakePipe() {
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  return ends;
}

// "21:04:05.123 ", local time.
std::string TimeOfDay() {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  using std::chrono::system_clock;
  const auto now = system_clock::now();
  const std::time_t seconds = system_clock::to_time_t(now);
  const auto millis = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local = {};
  (void)localtime_r(&seconds, &local);
  std::array<char, 32> text = {};
  (void)std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%03d ", local.tm_hour, local.tm_min,
                      local.tm_sec, static_cast<int>(millis));
  return text.data();
}

void WriteAll(int descriptor, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = write(descriptor, text.data() + done, text.size() - done);
    if (written < 0) return;  // nobody reads the log any more
    done += static_cast<std::size_t>(written);
  }
}

}  // namespace

LogStamper::LogStamper() {
  const std::array<int, 2> lines = MakePipe();
  const std::array<int, 2> finish = MakePipe();
  (void)std::fflush(stdout);
  output_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  (void)dup2(lines[1], STDOUT_FILENO);
  (void)close(lines[1]);
  readEnd_ = lines[0];
  finishWatch_ = finish[0];
  finishPipe_ = finish[1];
  thread_ = std::thread(&LogStamper::PassOnUntilClosed, this);
}

LogStamper::~LogStamper() {
  (void)std::fflush(stdout);
  (void)dup2(output_, STDOUT_FILENO);
  (void)close(finishPipe_);
  thread_.join();
  for (const int descriptor : {output_, readEnd_, finishWatch_}) (void)close(descriptor);
}

void LogStamper::PassOnUntilClosed() {
  std::array<char, 4096> buffer = {};
  for (;;) {
    std::array<pollfd, 2> watched = {{{readEnd_, POLLIN, 0}, {finishWatch_, POLLIN, 0}}};
    if (poll(watched.data(), watched.size(), -1) < 0) continue;
    // Asked to finish only once the pipe is empty: children may hold it open for ever.
    if ((watched[0].revents & POLLIN) == 0) return;
    const ssize_t count = read(readEnd_, buffer.data(), buffer.size());
    if (count > 0) PassOn(buffer.data(), static_cast<std::size_t>(count));
  }
}

void LogStamper::PassOn(const char* bytes, std::size_t count) {
  partialLine_.append(bytes, count);
  std::size_t end = 0;
  while ((end = partialLine_.find('\n')) != std::string::npos) {
    WriteAll(output_, TimeOfDay() + partialLine_.substr(0, end + 1));
    partialLine_.erase(0, end + 1);
  }
}
