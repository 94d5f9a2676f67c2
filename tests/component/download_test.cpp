#include <dlfcn.h>

#include <thread>

#include "component/component.h"
#include "tests/cloud/curl_recorder.h"
#include "tests/kit/device.h"

namespace {

using DownloadTest = DeviceTest;
using testing::IsEmpty;

TEST_F(DownloadTest, AnAnswerForAnythingElseIsNotUsed) {
  const struct {
    const char* what;
    const char* answer;
  } rows[] = {
      {"nothing", R"()"},
      {"no object", R"([{"data":{"filename":"engine","version":"1.0","url":"u"}}])"},
      {"cut short", R"({"data":{"filename":"engine","version":"1.0","url":"u"})"},
      {"another filename", R"({"data":{"filename":"engine2","version":"1.0","url":"u"}})"},
      {"a filename in other case", R"({"data":{"filename":"Engine","version":"1.0","url":"u"}})"},
      {"no filename", R"({"data":{"version":"1.0","url":"u"}})"},
      {"another version", R"({"data":{"filename":"engine","version":"1.0a","url":"u"}})"},
      {"a version that is a number", R"({"data":{"filename":"engine","version":1.0,"url":"u"}})"},
      {"no version", R"({"data":{"filename":"engine","url":"u"}})"},
      {"no address", R"({"data":{"filename":"engine","version":"1.0"}})"},
      {"an address that is a number", R"({"data":{"filename":"engine","version":"1.0","url":7}})"},
      {"data in other case", R"({"Data":{"filename":"engine","version":"1.0","url":"u"}})"},
      {"filename in other case", R"({"data":{"Filename":"engine","version":"1.0","url":"u"}})"},
      {"version in other case", R"({"data":{"filename":"engine","VERSION":"1.0","url":"u"}})"},
      {"url in other case", R"({"data":{"filename":"engine","version":"1.0","URL":"u"}})"},
      {"data that is a list", R"({"data":["filename","engine"]})"},
      {"members beside data", R"({"data":{},"filename":"engine","version":"1.0","url":"u"})"},
  };
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", ""};
  for (const auto& row : rows) {
    std::string url = "before";
    EXPECT_EQ(component.ParseResponse(Bytes(row.answer), url), 1) << row.what;
    EXPECT_EQ(url, "before") << row.what;
  }
  EXPECT_THAT(log.Text(), IsEmpty());
}

TEST_F(DownloadTest, AnAnswerIsReadToItsLengthAndNoFurther) {
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", ""};
  const std::string answer = R"({"data":{"filename":"engine","version":"1.0","url":"u"}})";
  std::string url = "before";
  std::vector<char> body = Bytes(answer);
  body.pop_back();  // which leaves the brace where it was
  EXPECT_EQ(component.ParseResponse(body, url), 1);
  EXPECT_EQ(url, "before");
  EXPECT_EQ(component.ParseResponse(Bytes(answer + "]"), url), 0) << "what follows is ignored";
  EXPECT_EQ(url, "u");
  EXPECT_EQ(log.Text(), "Parsed component info: name engine, version 1.0, url u\n");
}

TEST_F(DownloadTest, AFailureIsOne) {
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", "c"};
  curlRecorder.answer = [](const CurlRequest&) { return CurlAnswer{"", CURLE_COULDNT_CONNECT}; };
  EXPECT_EQ(component.Download(), 1);
  EXPECT_EQ(component.PreDownload(), 1);
  EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1);
}

// Memory of this process that no file stands behind, in kB.
long AnonymousMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("RssAnon:", 0) == 0) return std::stol(line.substr(8));
  }
  return -1;
}

TEST_F(DownloadTest, TheMemoryOfLargeBodiesIsGivenBack) {
  if (dlsym(RTLD_DEFAULT, "__sanitizer_get_heap_size") != nullptr) {
    GTEST_SKIP() << "a sanitizer keeps what is freed";
  }
  if (sizeof(void*) == 4) GTEST_SKIP() << "here the allocator maps every large block for itself";
  const Component component = {"streamer", "engine", "/run/app/engine", "1.0", "c"};
  std::string file;
  curlRecorder.answer = [&file](const CurlRequest& request) {
    if (request.json.empty()) return CurlAnswer{std::move(file)};
    return CurlAnswer{R"({"data":{"filename":"engine","version":"1.0","url":"u"}})"};
  };
  const auto download = [&] {
    EXPECT_EQ(component.DownloadToPath("/run/app/engine"), 1) << "it does not verify";
  };
  const long before = AnonymousMemory();
  file.assign(30U << 20U, 'x');  // once such a block was freed, smaller ones come from the heap
  download();
  file.assign(16U << 20U, 'x');
  download();
  file.assign(16U << 20U, 'x');
  std::thread(download).join();  // has a heap of its own
  EXPECT_EQ(std::filesystem::file_size("/run/app/engine"), 16U << 20U);
  EXPECT_GT(before, 0);
  EXPECT_LT(AnonymousMemory() - before, 4096) << "kB more";
}

}  // namespace
