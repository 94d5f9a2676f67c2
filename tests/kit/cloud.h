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

// What the device asks for; what does not belong to it is empty.
struct CloudRequest {
  std::string version;   // a manifest's label, such as "latest", or the version of a file
  std::string process;   // whose manifest; empty for the whole set
  std::string filename;  // whose location
  std::string url;       // which file

  [[nodiscard]] std::string Text() const {
    return "version '" + version + "' process '" + process + "' filename '" + filename + "' url '" +
           url + "'";
  }
  friend bool operator==(const CloudRequest& a, const CloudRequest& b) {
    return a.Text() == b.Text();
  }
  friend void PrintTo(const CloudRequest& request, std::ostream* out) { *out << request.Text(); }
};

[[nodiscard]] inline CloudRequest ForManifest(const std::string& label,
                                              const std::string& process = "") {
  return {label, process, "", ""};
}
[[nodiscard]] inline CloudRequest ForLocation(const std::string& filename,
                                              const std::string& version) {
  return {version, "", filename, ""};
}
[[nodiscard]] inline CloudRequest ForFile(const std::string& filename, const std::string& version) {
  return {"", "", "", "https://files.test/" + filename + "/" + version};
}

class FakeCloud {
 public:
  std::vector<CloudRequest> requests;  // in order
  // Runs in each request, before the answer.
  std::function<void(const CloudRequest&)> onRequest;

  FakeCloud() {
    curlRecorder.answer = [this](const CurlRequest& asked) { return Reply(Understood(asked)); };
  }

  void Answer(const CloudRequest& request, const std::string& body) {
    answers_[request.Text()] = {body};
  }
  // Makes a component's file downloadable.
  void Offer(const std::string& filename, const std::string& version, const std::string& bytes) {
    const CloudRequest file = ForFile(filename, version);
    Answer(ForLocation(filename, version),
           Json("{'data':{'filename':'" + filename + "','version':'" + version + "','url':'" +
                file.url + "'}}"));
    Answer(file, bytes);
  }
  // Without an answer there is no connection.
  void Disconnect() { answers_.clear(); }

 private:
  CurlAnswer Reply(const CloudRequest& request) {
    requests.push_back(request);
    if (onRequest) onRequest(request);
    const auto known = answers_.find(request.Text());
    return known == answers_.end() ? CurlAnswer{"", CURLE_COULDNT_CONNECT} : known->second;
  }

  // The process that a location is asked for decides nothing here.
  static CloudRequest Understood(const CurlRequest& asked) {
    if (asked.json.empty()) return {"", "", "", asked.url};
    const CJsonOwner posted(cJSON_Parse(asked.json.c_str()));
    std::string version, process, filename;
    EXPECT_TRUE(ReadString(posted.get(), "version", version)) << asked.json;
    EXPECT_TRUE(ReadString(posted.get(), "processname", process)) << asked.json;
    if (ReadString(posted.get(), "filename", filename)) return ForLocation(filename, version);
    return ForManifest(version, process);
  }

  std::map<std::string, CurlAnswer> answers_;  // by the request's text
};
