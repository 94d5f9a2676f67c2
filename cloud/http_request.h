// The only client of the cloud: identity, HTTPS transport and the two calls of the process API.
//
// Everything is static state used by the main loop's thread alone, one request at a time. That is
// also what makes it safe that every request initialises and cleans up libcurl's global state
// around itself: no connection, session or handle survives a request. A request blocks its thread
// for up to its time-out.
//
// Success means that a transfer completed. The HTTP status is never read: an error answer of the
// cloud reaches the caller's parser as a body, and its page instead of a file fails the integrity
// check. Redirects are not followed.
//
// Results: 0 the transfer completed; 1 the request could not be prepared or sent; 2 the transfer
// failed (connection, TLS, time-out, no memory for the body; of a file also trust that could not be
// set up), with "Curl return code <code>" in the log.
#pragma once

#include <string>
#include <vector>

constexpr int requestNotPrepared = 1;
constexpr int transferFailed = 2;

// The calls of the API, behind the cloud's address; how long one may take, and a file.
constexpr char getProcessesPath[] = "/device/process/get_processes";
constexpr char getDownloadLocationPath[] = "/device/process/get_download_location";
constexpr long callTimeoutSec = 30;
constexpr long fileTimeoutSec = 120;

class HttpRequest {
 public:
  // The singleton, made by the first call and never deleted. Main loop's thread.
  [[nodiscard]] static HttpRequest* Instance();

  // Obtains the device's identity into `mac` and `enr`. 0: both are there; 1: the wireless
  // interface or the token is missing (no message; the caller has one). Logs what it obtained, the
  // token itself never.
  [[nodiscard]] int Init();

  // Fetches `url` by GET into `body`, which is emptied first and on a failed transfer holds what
  // had arrived. Logs "Get response from url <url>, status <result>", but nothing for result 1.
  [[nodiscard]] static int GetResponse(const std::string& url, std::vector<char>& body);

  // Asks for the manifest of `version` ("latest", "lastknowngood") of one process, or of all with
  // an empty `processname`. `body` is emptied first and receives the answer. Reads the device token
  // afresh: without one the result is 1, without traffic. Logs "Get processes from domain <domain>,
  // status <result>", but nothing for result 1.
  [[nodiscard]] int GetProcess(const std::string& version, const std::string& processname,
                               std::vector<char>& body);

  // GetProcess for all processes.
  [[nodiscard]] int GetProcesses(const std::string& version, std::vector<char>& body);

  // Asks where component `filename` in `version` of process `processname` can be fetched. Else like
  // GetProcess, with the line "Get download location from domain <domain>, status <result>".
  [[nodiscard]] int GetDownloadLocation(const std::string& processname, const std::string& filename,
                                        const std::string& version, std::vector<char>& body);

  static HttpRequest* instance;     // null until the first Instance()
  static std::string mac;           // 12 lowercase hexadecimal digits; written by Init
  static std::string enr;           // device token, at most 16 characters; written by Init and by
                                    // every API request
  static const std::string sc;      // client credential
  static const std::string sv;      // second client credential
  static const std::string domain;  // cloud base URL, without a trailing slash
};
