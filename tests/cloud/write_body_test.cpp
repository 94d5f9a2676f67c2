// How an answer's body takes its memory, and when it gets none.
#include "cloud/write_body.h"

#include <dlfcn.h>
#include <sys/mount.h>

#include <cstdint>

#include "cloud/http_request.h"
#include "tests/cloud/transfer_test.h"
#include "tests/fakes/scarcity.h"

namespace {

using testing::StartsWith;

constexpr char fileUrl[] = "https://cloud.test:8443/file";
constexpr std::size_t kB = 1024, MB = 1024 * kB;
constexpr std::uint64_t TB = std::uint64_t{MB} * MB;

Send HeadOf(std::uint64_t length) {
  return Head("200 OK", {"Content-Length: " + std::to_string(length)});
}

struct WriteBodyTest : TransferTest {
  // Has the kernel tell this of its memory.
  void SetMemoryInfo(const std::string& text) {
    WriteText("/run/meminfo", text);
    if (isTold) return;
    isTold = true;
    EXPECT_EQ(mount("/run/meminfo", "/proc/meminfo", nullptr, MS_BIND, nullptr), 0);
  }
  void SetAvailable(std::size_t bytes) {
    SetMemoryInfo("MemTotal:       65536 kB\nMemFree:            0 kB\nMemAvailable:   " +
                  std::to_string(bytes / kB) + " kB\nBuffers:            0 kB\n");
  }
  // A body is announced, of which a little comes.
  void ExpectTaken(std::uint64_t announced) {
    MeetAnswers({{"a little of it comes",
                  {HeadOf(announced), Fill{99}},
                  CURLE_PARTIAL_FILE,
                  std::string(99, 'x')}});
  }
  void ExpectRefused(std::uint64_t announced) {
    MeetAnswers({{"a little of it comes", {HeadOf(announced), Fill{99}}, CURLE_WRITE_ERROR, ""}});
  }

  bool isTold = false;
  std::vector<char> body;
};

TEST_F(WriteBodyTest, AnAnnouncedBodyGetsRoomOnceWithAByteForItsEnd) {
  struct Row {
    const char* name;
    std::size_t size;
    std::size_t capacityBefore;
  };
  const Row rows[] = {
      {"of one byte", 1, 0},
      {"in one piece", 100, 0},
      {"in many pieces", 100'000, 0},
      {"in a body that was used before", 100'000, 16},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const FaultServer here({Tls{}, Hear{}, HeadOf(row.size), Fill{row.size}});
    std::vector<char> reused;
    reused.reserve(row.capacityBefore);
    EXPECT_EQ(HttpRequest::GetResponse(fileUrl, reused), 0);
    EXPECT_EQ(reused.size(), row.size);
    EXPECT_EQ(reused.capacity(), row.size + 1);
  }
}

TEST_F(WriteBodyTest, AnUnannouncedBodyIsDoubledOrGetsWhatComes) {
  const std::string bytes(1000, 'x');
  EXPECT_EQ(WriteBodyCallback(bytes.data(), 2, 50, &body), 100U);
  EXPECT_EQ(body.capacity(), 100U);
  EXPECT_EQ(WriteBodyCallback(bytes.data(), 1, 1, &body), 1U);
  EXPECT_EQ(body.capacity(), 200U);
  EXPECT_EQ(WriteBodyCallback(bytes.data(), 1, 99, &body), 99U);
  EXPECT_EQ(body.capacity(), 200U) << "there was room";
  EXPECT_EQ(WriteBodyCallback(bytes.data(), 1, 1000, &body), 1000U);
  EXPECT_EQ(body.capacity(), 1200U);
  EXPECT_EQ(body, Bytes(std::string(1200, 'x')));
}

TEST_F(WriteBodyTest, AnAnnouncedBodyThatMemoryDoesNotHoldIsRefusedAtOnce) {
  struct Row {
    const char* name;
    std::size_t available;
    std::uint64_t announced;
    bool isTaken;
  };
  // Beside the body, a byte for its end and 8 MiB for the rest of the device have to fit.
  const Row rows[] = {
      {"fits exactly", 12 * MB, 4 * MB - 1, true},
      {"a byte too large", 12 * MB, 4 * MB, false},
      {"far too large", 12 * MB, TB, false},
      {"less available than the rest needs", 7 * MB, 2 * MB, false},
      {"no more available than the rest needs", 8 * MB, 2 * MB, false},
      {"large, nothing available", 0, MB, false},
      {"too small to ask, nothing available", 0, MB - 1, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    SetAvailable(row.available);
    row.isTaken ? ExpectTaken(row.announced) : ExpectRefused(row.announced);
  }
}

TEST_F(WriteBodyTest, AnUnannouncedBodyIsRefusedWhenItOutgrowsMemory) {
  SetAvailable(8 * MB);
  const FaultServer here({Tls{}, Hear{}, Head("200 OK"), Fill{4 * MB}});
  EXPECT_EQ(HttpRequest::GetResponse(fileUrl, body), 2);
  EXPECT_THAT(log.Text(), StartsWith("Curl return code 23\n"));
  EXPECT_GT(body.size(), MB / 4) << "it was small at first";
  EXPECT_LE(body.size(), MB);
}

TEST_F(WriteBodyTest, WhatADoubledBodyTakesMoreHasToFit) {
  struct Row {
    const char* name;
    std::size_t available;
    std::size_t size;  // of a full body to which a byte comes
    bool isTaken;
  };
  const Row rows[] = {
      {"fits exactly", 10 * MB, 2 * MB, true},
      {"a kB too little", 10 * MB - kB, 2 * MB, false},
      {"too small to ask", 0, MB / 2, true},
      {"a little larger", 0, MB / 2 + 1, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    SetAvailable(row.available);
    std::vector<char> full(row.size);
    EXPECT_EQ(WriteBodyCallback("x", 1, 1, &full), row.isTaken ? 1U : 0U);
    EXPECT_EQ(full.size(), row.size + (row.isTaken ? 1 : 0));
  }
}

TEST_F(WriteBodyTest, WhereTheKernelDoesNotTellALargeBodyIsTaken) {
  SetMemoryInfo("");
  ExpectTaken(64 * MB);
  SetMemoryInfo("MemTotal:       65536 kB\nMemFree:            0 kB\n");
  ExpectTaken(64 * MB);
  ASSERT_EQ(mount("none", "/proc", "tmpfs", 0, nullptr), 0);
  ExpectTaken(64 * MB);
  EXPECT_EQ(umount("/proc"), 0);
}

TEST_F(WriteBodyTest, WhatTheCLibraryDoesNotHoldGrowsAsItComes) {
  SetMemoryInfo("");
  // A sanitizer ends the program where the C library answers null.
  const bool sanitized = dlsym(RTLD_DEFAULT, "__sanitizer_get_heap_size") != nullptr;
  ExpectTaken(sanitized ? 1000 * MB : SIZE_MAX >> (sizeof(void*) == 4 ? 1U : 25U));
  ExpectTaken(INT64_MAX);
}

TEST_F(WriteBodyTest, MissingMemoryEndsTheTransferAndKeepsWhatCame) {
  body = Bytes("0123");
  const std::string bytes(99, 'x');
  scarcity.toComeFirst = 0;
  scarcity.toFail = 2;  // for as much as is wished, and for as much as is needed
  const std::size_t taken = WriteBodyCallback(bytes.data(), 1, bytes.size(), &body);
  EXPECT_EQ(scarcity.toFail.exchange(0), 0);
  EXPECT_EQ(taken, 0U);
  EXPECT_EQ(body, Bytes("0123"));
}

}  // namespace
