#include "tests/kit/device.h"

#include <openssl/evp.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

LogCapture::LogCapture() : capture_(memfd_create("log", MFD_CLOEXEC)), output_(dup(STDOUT_FILENO)) {
  (void)std::fflush(stdout);
  (void)dup2(capture_, STDOUT_FILENO);
}

LogCapture::~LogCapture() {
  (void)std::fflush(stdout);
  (void)dup2(output_, STDOUT_FILENO);
  // What went wrong was written there, too.
  read_ = 0;
  if (testing::Test::HasFailure()) {
    for (const std::string& line : Lines()) (void)std::puts(line.c_str());
  }
  (void)close(output_);
  (void)close(capture_);
}

std::vector<std::string> LogCapture::Lines() {
  std::string text(static_cast<std::size_t>(lseek(capture_, 0, SEEK_END) - read_), '\0');
  EXPECT_EQ(pread(capture_, text.data(), text.size(), read_), static_cast<ssize_t>(text.size()));
  read_ += static_cast<long>(text.size());
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

DeviceTest::DeviceTest() {
  if (std::getenv("TOLVAR_BENCH") != nullptr) return;
  (void)std::fputs("run me through tools/bench-device\n", stderr);
  std::exit(1);
}

TestCloud& DeviceTest::StartCloud() {
  WriteText("/tmp/cacert.pem", ReadText(TOLVAR_TEST_CERTS "/ca.pem"));
  cloud = std::make_unique<TestCloud>(TOLVAR_TEST_CERTS);
  return *cloud;
}

void WriteText(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

bool Exists(const std::string& path) { return std::filesystem::exists(path); }

void Remove(const std::string& path) { std::filesystem::remove_all(path); }

std::string Md5(const std::string& bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr), 1);
  std::string text;
  for (unsigned i = 0; i < length; ++i) {
    char pair[3];
    (void)std::snprintf(pair, sizeof pair, "%02x", unsigned{digest[i]});
    text += pair;
  }
  return text;
}

std::vector<char> Bytes(const std::string& text) { return {text.begin(), text.end()}; }
