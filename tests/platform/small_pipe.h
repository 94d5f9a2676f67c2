// Standard output as a pipe of one page, and signals that come while somebody writes to it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <string>
#include <thread>

[[nodiscard]] inline sigset_t OnlySignal(int signal) {
  sigset_t set = {};
  (void)sigemptyset(&set);
  (void)sigaddset(&set, signal);
  return set;
}

// Takes standard output over until it goes. Expect nothing meanwhile: a failure is printed there.
class SmallPipe {
 public:
  explicit SmallPipe(int writerFlags) {
    std::array<int, 2> ends = {-1, -1};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    reader_ = ends[0];
    (void)fcntl(ends[1], F_SETPIPE_SZ, 1);  // the least is a page
    (void)fcntl(ends[1], F_SETFL, writerFlags);
    (void)dup2(ends[1], STDOUT_FILENO);
    (void)close(ends[1]);
  }
  SmallPipe(const SmallPipe&) = delete;
  SmallPipe& operator=(const SmallPipe&) = delete;
  ~SmallPipe() {
    CloseReader();
    (void)dup2(before_, STDOUT_FILENO);
    (void)close(before_);
  }

  void CloseReader() {
    if (reader_ >= 0) (void)close(reader_);
    reader_ = -1;
  }
  [[nodiscard]] std::size_t Capacity() const {
    return static_cast<std::size_t>(fcntl(reader_, F_GETPIPE_SZ));
  }
  // What lies in it.
  [[nodiscard]] std::string Take() const {
    std::string text;
    while (HasMoreWithin(0)) text += ReadBlock();
    return text;
  }
  // Begins to read after 0.2 s, with a pause before each block, until a line has ended or nothing
  // comes for three seconds. In a thread of its own, which no SIGALRM disturbs.
  [[nodiscard]] std::future<std::string> ReadLineSlowly() const {
    const sigset_t alarm = OnlySignal(SIGALRM);
    (void)pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
    std::future<std::string> line = std::async(std::launch::async, [this] {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      std::string text;
      while ((text.empty() || text.back() != '\n') && HasMoreWithin(3000)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        text += ReadBlock();
      }
      return text;
    });
    (void)pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    return line;
  }

 private:
  [[nodiscard]] bool HasMoreWithin(int milliseconds) const {
    pollfd reader = {reader_, POLLIN, 0};
    return poll(&reader, 1, milliseconds) > 0;
  }
  [[nodiscard]] std::string ReadBlock() const {
    std::array<char, 4096> block = {};
    const ssize_t count = read(reader_, block.data(), block.size());
    return {block.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }

  int before_ = dup(STDOUT_FILENO);
  int reader_ = -1;
};

// While one lives, a signal handler runs every millisecond and interrupts what the thread waits in.
class Alarms {
 public:
  Alarms() {
    struct sigaction handled = {};  // without SA_RESTART
    handled.sa_handler = [](int) { ++count; };
    (void)sigaction(SIGALRM, &handled, nullptr);
    Repeat({0, 1000});
  }
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;
  ~Alarms() { Repeat({0, 0}); }

  static inline std::atomic<int> count{0};

 private:
  static void Repeat(timeval interval) {
    const itimerval timer = {interval, interval};
    (void)setitimer(ITIMER_REAL, &timer, nullptr);
  }
};
