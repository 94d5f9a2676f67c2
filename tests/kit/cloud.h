// A cloud that answers in place of libcurl's transfers.
#pragma once

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "platform/json.h"
#include "tests/cloud/curl_recorder.h"
#include "tests/kit/manifest.h"
#include "tests/kit/text.h"

// What the device asks for; what its kind does not need stays empty.
struct CloudRequest {
  enum class Kind { Manifest, Location, File };
  Kind kind;
  std::string version;  // a manifest's label, such as "latest", or a file's
  std::string process;  // whose manifest; empty for the whole set
  std::string filename;
  std::string url;

  [[nodiscard]] std::string Text() const {
    const char* const kinds[] = {"manifest", "location", "file"};
    return std::string(kinds[static_cast<int>(kind)]) + " version '" + version + "' process '" +
           process + "' filename '" + filename + "' url '" + url + "'";
  }
  friend bool operator==(const CloudRequest& a, const CloudRequest& b) {
    return a.Text() == b.Text();
  }
  friend bool operator<(const CloudRequest& a, const CloudRequest& b) {
    return a.Text() < b.Text();
  }
  friend void PrintTo(const CloudRequest& request, std::ostream* out) { *out << request.Text(); }
};

[[nodiscard]] inline CloudRequest ForManifest(const std::string& label,
                                              const std::string& process = "") {
  return {CloudRequest::Kind::Manifest, label, process, "", ""};
}
[[nodiscard]] inline CloudRequest ForLocation(const std::string& filename,
                                              const std::string& version) {
  return {CloudRequest::Kind::Location, version, "", filename, ""};
}
[[nodiscard]] inline CloudRequest ForFile(const std::string& filename, const std::string& version) {
  const std::string url = "https://files.test/" + filename + "/" + version;
  return {CloudRequest::Kind::File, "", "", "", url};
}

class FakeCloud {
 public:
  std::vector<CloudRequest> requests;  // in order
  // Runs in each request, before the answer.
  std::function<void(const CloudRequest&)> onRequest;

  FakeCloud() {
    curlRecorder.answer = [this](const CurlRequest& asked) { return Answer(Understood(asked)); };
  }

  // Answers for the set's manifest `label` with `body`.
  void SetManifest(const std::string& label, const std::string& body) {
    answers_[ForManifest(label)] = {body};
  }
  // The same for the manifest of one process.
  void SetManifest(const std::string& label, const std::string& process, const std::string& body) {
    answers_[ForManifest(label, process)] = {body};
  }
  // Makes a component's file downloadable.
  void SetFile(const std::string& name, const std::string& version, const std::string& bytes) {
    const std::string url = ForFile(name, version).url;
    answers_[ForLocation(name, version)] = {Json("{'data':{'filename':'" + name + "','version':'" +
                                                 version + "','url':'" + url + "'}}")};
    answers_[ForFile(name, version)] = {bytes};
  }
  // Without an answer there is no connection.
  void Disconnect() { answers_.clear(); }

 private:
  CurlAnswer Answer(const CloudRequest& request) {
    requests.push_back(request);
    if (onRequest) onRequest(request);
    const auto known = answers_.find(request);
    return known == answers_.end() ? CurlAnswer{"", CURLE_COULDNT_CONNECT} : known->second;
  }

  // The process that a location is asked for decides nothing here.
  static CloudRequest Understood(const CurlRequest& asked) {
    if (asked.json.empty()) return {CloudRequest::Kind::File, "", "", "", asked.url};
    const CJsonOwner posted(cJSON_Parse(asked.json.c_str()));
    std::string version, process, filename;
    EXPECT_TRUE(ReadString(posted.get(), "version", version)) << asked.json;
    EXPECT_TRUE(ReadString(posted.get(), "processname", process)) << asked.json;
    if (ReadString(posted.get(), "filename", filename)) return ForLocation(filename, version);
    return ForManifest(version, process);
  }

  std::map<CloudRequest, CurlAnswer> answers_;
};
