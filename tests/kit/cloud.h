// A cloud that answers in place of libcurl's transfers, and the texts that clouds answer with.
#pragma once

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/hex.h"
#include "tests/cloud/curl_recorder.h"

// `text` with double quotes for single ones.
[[nodiscard]] inline std::string Json(std::string text) {
  std::replace(text.begin(), text.end(), '\'', '"');
  return text;
}

// A member of a flat JSON object of strings, "" when it is not there.
[[nodiscard]] inline std::string StringIn(const std::string& json, const std::string& key) {
  const std::string start = "\"" + key + "\":\"";
  const std::size_t at = json.find(start), from = at + start.size();
  return at == std::string::npos ? "" : json.substr(from, json.find('"', from) - from);
}

// Has an answer for "<version> <process>" (a manifest), "<filename>@<version>" (a location), a URL.
struct FakeCloud {
  std::vector<std::string> asked;  // in order
  // Without an answer there is no connection.
  std::map<std::string, CurlAnswer> answers;

  FakeCloud() {
    curlRecorder.answer = [this](const CurlRequest& request) {
      asked.push_back(KeyOf(request));
      const auto known = answers.find(asked.back());
      return known == answers.end() ? CurlAnswer{"", CURLE_COULDNT_CONNECT} : known->second;
    };
  }
  void Set(const std::string& key, const std::string& body) { answers[key] = {body}; }
  // Makes a component's file downloadable.
  void SetFile(const std::string& name, const std::string& version, const std::string& bytes) {
    const std::string url = "https://files.test/" + name + "/" + version;
    const std::string data = "'filename':'" + name + "','version':'" + version;
    Set(name + "@" + version, Json("{'data':{" + data + "','url':'" + url + "'}}"));
    Set(url, bytes);
  }

 private:
  static std::string KeyOf(const CurlRequest& request) {
    if (request.json.empty()) return request.url;
    const std::string version = StringIn(request.json, "version");
    const std::string file = StringIn(request.json, "filename");
    if (!file.empty()) return file + "@" + version;
    return version + " " + StringIn(request.json, "processname");
  }
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

// Of processes with commas between them, each "<name> <version>" or "<name> <version> <localpath>"
// with a component "f" there, whose bytes are the version. `start` begins the entry points.
[[nodiscard]] inline std::string Manifest(const std::string& processes,
                                          const std::string& start = "start") {
  std::string text;
  std::istringstream rest(processes);
  for (std::string process; std::getline(rest, process, ',');) {
    std::string name, number, path;
    std::istringstream(process) >> name >> number >> path;
    const std::string version = "','version':'" + number, entry = start + " " + name + " " + number;
    const std::string file = "{'filename':'f','localpath':'" + path + version + "','checksum':'";
    text += (text.empty() ? "{'processname':'" : ",{'processname':'") + name + version +
            "','entrypoint':'" + entry + "','components':[" +
            (path.empty() ? "" : file + Md5(number) + "'}") + "]}";
  }
  return Json("{'data':{'processes':[" + text + "]}}");
}
