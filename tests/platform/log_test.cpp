#include "platform/log.h"

#include <sys/socket.h>

#include <cstring>
#include <utility>

#include "tests/fakes/scarcity.h"
#include "tests/kit/device.h"
#include "tests/platform/small_pipe.h"

namespace {

using LogTest = DeviceTest;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST_F(LogTest, WhatTheHostHasWrittenComesFirst) {
  std::FILE* const report = std::exchange(stdout, log.OfHost());
  EXPECT_EQ(std::fputs("of the host, ", stdout), 1);
  Log("of the plug-in");
  Log("");
  stdout = report;
  EXPECT_EQ(log.Text(), "of the host, of the plug-in\n\n");
}

TEST_F(LogTest, ALineAndItsEndAreOneWrite) {
  std::array<int, 2> ends = {-1, -1};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
  const int before = dup(STDOUT_FILENO);
  (void)dup2(ends[1], STDOUT_FILENO);
  Log("one line");
  (void)dup2(before, STDOUT_FILENO);
  std::array<char, 99> packet = {};
  EXPECT_EQ(recv(ends[0], packet.data(), packet.size(), 0), 9);
  EXPECT_STREQ(packet.data(), "one line\n");
}

TEST_F(LogTest, NothingIsAllocated) {
  const std::string line(1000, 'x');
  scarcity.toComeFirst = 0;
  scarcity.toFail = 1;
  Log(line);
  const long leftToFail = scarcity.toFail;
  scarcity.toFail = 0;
  EXPECT_EQ(leftToFail, 1);
}

// 200,000 bytes, in which a piece that is missing, doubled or misplaced shows.
std::string LongLine() {
  std::string line;
  for (unsigned number = 100000; line.size() < 200000; ++number) line += std::to_string(number);
  return line.substr(0, 200000);
}

// Not printed whole when it is wrong.
void ExpectText(const std::string& text, const std::string& expected) {
  const auto differs =
      std::mismatch(text.begin(), text.end(), expected.begin(), expected.end()).first;
  EXPECT_TRUE(text == expected) << text.size() << " bytes instead of " << expected.size()
                                << ", wrong from byte " << differs - text.begin() << " on";
}

TEST_F(LogTest, ALongLineArrivesWholeThroughASmallPipeAndSignals) {
  for (const int writerFlags : {0, O_NONBLOCK}) {
    std::string arrived;
    {
      const SmallPipe output(writerFlags);
      std::future<std::string> reader = output.ReadLineSlowly();
      const Alarms alarms;
      Log(LongLine());
      arrived = reader.get();
    }
    SCOPED_TRACE(writerFlags == 0 ? "blocking" : "non-blocking");
    ExpectText(arrived, LongLine() + "\n");
    EXPECT_GT(Alarms::count.exchange(0), 10);
  }
}

TEST_F(LogTest, AStalledReaderCostsOneSecondAndNoLineIsGluedToAnother) {
  std::string arrived;
  std::string arrivedLater;
  std::size_t capacity = 0;
  steady_clock::time_point start, afterFirst, afterSecond;
  {
    const SmallPipe output(O_NONBLOCK);
    capacity = output.Capacity();
    start = steady_clock::now();
    Log(LongLine());
    afterFirst = steady_clock::now();
    Log("dropped");
    afterSecond = steady_clock::now();
    arrived = output.Take();
    Log("next");
    arrived += output.Take();
    std::future<std::string> reader = output.ReadLineSlowly();
    Log(LongLine());  // which is waited for again
    arrivedLater = reader.get();
  }
  ExpectText(arrived, LongLine().substr(0, capacity) + "\nnext\n");
  ExpectText(arrivedLater, LongLine() + "\n");
  EXPECT_GE(afterFirst - start, milliseconds(1000));
  EXPECT_LT(afterFirst - start, milliseconds(1900));
  EXPECT_LT(afterSecond - afterFirst, milliseconds(500));
}

TEST_F(LogTest, ALineThatIsDroppedWholeLeavesNoEmptyOne) {
  std::string arrived;
  std::string filling;
  {
    const SmallPipe output(O_NONBLOCK);
    filling = std::string(output.Capacity() - 1, 'x');
    Log(filling);
    Log("dropped");
    arrived = output.Take();
    Log("next");
    arrived += output.Take();
  }
  ExpectText(arrived, filling + "\nnext\n");
}

bool IsPipeSignalPending() {
  sigset_t set = {};
  (void)sigpending(&set);
  return sigismember(&set, SIGPIPE) == 1;
}

TEST_F(LogTest, AReaderThatIsGoneLeavesTheHostAndItsSignalsAlone) {
  const struct {
    const char* what;
    bool blocked, pending;
  } rows[] = {
      {"deadly", false, false},
      {"blocked by the host", true, false},
      {"blocked and pending", true, true},
  };
  const sigset_t pipeSignal = OnlySignal(SIGPIPE);
  (void)std::signal(SIGPIPE, SIG_DFL);
  for (const auto& row : rows) {
    if (row.blocked) (void)pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    if (row.pending) (void)raise(SIGPIPE);
    {
      SmallPipe output(0);
      output.CloseReader();
      Log("lost");
    }
    sigset_t blocked = {};
    (void)pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGPIPE), row.blocked ? 1 : 0) << row.what;
    EXPECT_EQ(IsPipeSignalPending(), row.pending) << row.what;
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL) << row.what;
  }
}

}  // namespace
