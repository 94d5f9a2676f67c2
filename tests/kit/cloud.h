// A real HTTPS server on the cloud's port that answers what a test tells it to, and what it needs
// to be told.
#pragma once

#include <gtest/gtest.h>
#include <httplib.h>
#include <openssl/evp.h>

#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/hex.h"
#include "platform/json_owner.h"

constexpr char processesPath[] = "/device/process/get_processes";
constexpr char locationPath[] = "/device/process/get_download_location";

struct Answer {
  std::string body;
  int status = 200;  // a 302 sends to "/moved"
  std::string type = "application/json";
  // What Content-Length says; 0: the truth. The connection ends after the body in any case.
  std::size_t announced = 0;
};

class TestCloud {
 public:
  // Serves with the certificate in `certs` (server.pem, server.key) until destroyed.
  explicit TestCloud(const std::string& certs)
      : https_((certs + "/server.pem").c_str(), (certs + "/server.key").c_str()) {
    const auto handle = [this](const httplib::Request& request, httplib::Response& response) {
      Handle(request, response);
    };
    (void)https_.Get(".*", handle).Post(".*", handle);
    EXPECT_TRUE(https_.bind_to_port("127.0.0.1", 8443));
    thread_ = std::thread([this] { (void)https_.listen_after_bind(); });
    while (!https_.is_running()) std::this_thread::yield();  // a stop before would be lost
  }
  ~TestCloud() {
    https_.stop();
    thread_.join();
  }

  // Answers every request of `path` from now on; an unknown path gets an HTML page and 404.
  void Set(const std::string& path, const Answer& answer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    answers_[path] = answer;
  }
  // Answers manifest requests of `version` for `processname` ("" for all).
  void SetManifest(const std::string& version, const std::string& text,
                   const std::string& processname = "") {
    Set(version + " " + processname, {text});
  }
  // Makes a component's file downloadable: its location and its bytes.
  void SetFile(const std::string& filename, const std::string& version, const Answer& file) {
    const std::string path = "/files/" + filename + "/" + version;
    Set(path, file);
    Set(filename + "@" + version,
        {R"({"data":{"filename":")" + filename + R"(","version":")" + version +
         R"(","url":"https://cloud.test:8443)" + path + R"("}})"});
  }

  // The paths asked for since the last call, in order; a manifest request as "<version> <process>",
  // a location request as "<filename>@<version>".
  [[nodiscard]] std::vector<std::string> Asked() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(asked_, {});
  }

 private:
  static std::string Text(const cJSON* object, const char* key) {
    const char* text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, key));
    return text == nullptr ? "" : text;
  }
  static std::string KeyOf(const httplib::Request& request) {
    const CJsonOwner body(cJSON_Parse(request.body.c_str()));
    const std::string version = Text(body.get(), "version");
    if (request.path == processesPath) return version + " " + Text(body.get(), "processname");
    if (request.path == locationPath) return Text(body.get(), "filename") + "@" + version;
    return request.path;
  }
  void Handle(const httplib::Request& request, httplib::Response& response) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const Answer unknown = {"<html>no such page</html>", 404, "text/html"};
    asked_.push_back(KeyOf(request));
    const Answer& answer = answers_.try_emplace(asked_.back(), unknown).first->second;
    response.status = answer.status;
    if (answer.status == 302) response.set_header("Location", "/moved");
    if (answer.announced == 0) return response.set_content(answer.body, answer.type);
    response.set_content_provider(
        answer.announced, answer.type,
        [body = answer.body](std::size_t offset, std::size_t /*length*/, httplib::DataSink& sink) {
          return offset == 0 && sink.write(body.data(), body.size());
        });
  }

  httplib::SSLServer https_;
  std::mutex mutex_;  // guards the next two
  std::map<std::string, Answer> answers_;
  std::vector<std::string> asked_;
  std::thread thread_;
};

[[nodiscard]] inline std::vector<char> Bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

[[nodiscard]] inline std::string Md5(const std::string& bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr), 1);
  return LowercaseHex(digest, length);
}

// `before`, the parts with commas between them, `after`.
[[nodiscard]] inline std::string Join(const std::string& before,
                                      const std::vector<std::string>& parts,
                                      const std::string& after) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ",") + part;
  return before + text + after;
}

[[nodiscard]] inline std::string Manifest(const std::vector<std::string>& processes) {
  return Join(R"({"data":{"processes":[)", processes, "]}}");
}

// An element of "processes". Its components are "<filename> <version> <localpath> <bytes>" each.
[[nodiscard]] inline std::string ProcessJson(const std::string& name, const std::string& version,
                                             const std::vector<std::string>& components = {}) {
  std::vector<std::string> elements;
  for (const std::string& component : components) {
    std::istringstream words(component);
    std::string file, number, path, bytes;
    words >> file >> number >> path >> bytes;
    elements.push_back(R"({"filename":")" + file + R"(","localpath":")" + path +
                       R"(","version":")" + number + R"(","checksum":")" + Md5(bytes) + R"("})");
  }
  return Join(R"({"processname":")" + name + R"(","version":")" + version +
                  R"(","entrypoint":"start )" + name + " " + version + R"(","components":[)",
              elements, "]}");
}

// What a cloud with one process "a" of `version`, which has one file at `path`, brings for a
// transfer: its body and libcurl's code. `calls` are what was asked of libcurl for it.
[[nodiscard]] inline std::pair<std::string, int> ScriptedAnswer(const std::string& calls,
                                                                const std::string& version,
                                                                const std::string& path) {
  const std::string file = "f " + version + " " + path + " " + version;
  if (calls.find("get_processes") < calls.size()) {
    return {Manifest({ProcessJson("a", version, {file})}), 0};
  }
  const std::string location = R"({"data":{"filename":"f","version":")" + version;
  if (calls.find("location") < calls.size()) return {location + R"(","url":"https://u/"}})", 0};
  return {version, 0};
}
