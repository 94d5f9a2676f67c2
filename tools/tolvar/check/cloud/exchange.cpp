#include "tools/tolvar/check/cloud/exchange.h"

#include <chrono>
#include <cstring>
#include <stdexcept>

#include "cloud/http_request.h"
#include "cloud/identity.h"
#include "cloud/session.h"
#include "platform/json.h"

namespace check {
namespace {

// What stands behind `start` in `line`; null when it does not begin so, in any case of letters.
const char* Behind(const std::string& line, const char* start) {
  const bool begins = strncasecmp(line.c_str(), start, std::strlen(start)) == 0;
  return begins ? line.c_str() + std::strlen(start) : nullptr;
}

void TakeHeader(const std::string& line, Answer& answer) {
  if (Behind(line, "HTTP/") != nullptr) {
    const std::size_t blank = line.find(' ');
    answer = {answer.code, {}, answer.sec, 0, false, false, answer.protocol, answer.validUntil};
    if (blank != std::string::npos) answer.status = std::atoi(line.c_str() + blank);
  }
  if (Behind(line, "content-length:") != nullptr) answer.hasLength = true;
  if (Behind(line, "content-encoding:") != nullptr) answer.isCompressed = true;
}

void TakeRemark(std::string line, Answer& answer) {
  line.erase(0, line.find_first_not_of(' '));
  if (const char* text = Behind(line, "SSL connection using ")) answer.protocol = text;
  if (const char* text = Behind(line, "expire date: ")) answer.validUntil = text;
}

// libcurl tells here what the session itself does not look at.
int Listen(CURL* /*handle*/, curl_infotype type, char* data, std::size_t size, void* user) {
  if (type != CURLINFO_HEADER_IN && type != CURLINFO_TEXT) return 0;
  try {
    std::string line(data, size);
    line.erase(line.find_last_not_of("\r\n") + 1);
    auto& answer = *static_cast<Answer*>(user);
    type == CURLINFO_TEXT ? TakeRemark(line, answer) : TakeHeader(line, answer);
  } catch (const std::exception&) {  // must not pass through libcurl; the line is lost
  }
  return 0;
}

class DeviceSession {
 public:
  explicit DeviceSession(const Identity& identity) {
    if (!session_.IsOpen() || session_.VerifyPeer() != CURLE_OK) {
      throw std::runtime_error("libcurl cannot be set up");
    }
    session_.Set(CURLOPT_CAINFO, identity.caFile.c_str());
    session_.Set(CURLOPT_VERBOSE, 1L);
    session_.Set(CURLOPT_DEBUGFUNCTION, &Listen);
    session_.Set(CURLOPT_DEBUGDATA, &answer_);
  }

  [[nodiscard]] Session& Own() { return session_; }

  [[nodiscard]] Answer Perform(long timeoutSec) {
    std::vector<char> body;
    const auto start = std::chrono::steady_clock::now();
    const CURLcode code = session_.Perform(timeoutSec, body);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    answer_.code = code;
    answer_.sec = took.count();
    answer_.body = std::move(body);
    return answer_;
  }

 private:
  Answer answer_;
  Session session_;
};

std::string RequestText(const Identity& identity,
                        const std::vector<std::pair<const char*, std::string>>& fields) {
  std::vector<std::pair<const char*, std::string>> all = {{"mac", identity.mac},
                                                          {"enr", identity.token},
                                                          {"sc", HttpRequest::sc},
                                                          {"sv", HttpRequest::sv},
                                                          {"ts", GetTimestampInMs()}};
  all.insert(all.end(), fields.begin(), fields.end());
  const CJsonOwner object(cJSON_CreateObject());
  bool isWhole = object != nullptr;
  for (const auto& [key, value] : all) isWhole = isWhole && AddString(object.get(), key, value);
  const CJsonText text(isWhole ? cJSON_PrintUnformatted(object.get()) : nullptr);
  return text ? text.get() : throw std::bad_alloc();
}

}  // namespace

Answer Ask(const Identity& identity, const std::string& path,
           const std::vector<std::pair<const char*, std::string>>& fields) {
  const std::string url = identity.url + path;
  const std::string text = RequestText(identity, fields);
  DeviceSession device(identity);
  curl_slist* headers = device.Own().MakeHeaders();
  if (headers == nullptr) throw std::bad_alloc();
  device.Own().Set(CURLOPT_URL, url.c_str());
  device.Own().Set(CURLOPT_POSTFIELDS, text.c_str());
  device.Own().Set(CURLOPT_POSTFIELDSIZE, static_cast<long>(text.size()));
  device.Own().Set(CURLOPT_HTTPHEADER, headers);
  return device.Perform(callTimeoutSec);
}

Answer Fetch(const Identity& identity, const std::string& url) {
  DeviceSession device(identity);
  device.Own().Set(CURLOPT_URL, url.c_str());
  return device.Perform(fileTimeoutSec);
}

}  // namespace check
