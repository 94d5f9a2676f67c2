// A real HTTPS server on the cloud's port that answers what a test tells it to.
#pragma once

#include <memory>
#include <string>
#include <vector>

constexpr char processesPath[] = "/device/process/get_processes";
constexpr char locationPath[] = "/device/process/get_download_location";
constexpr int cloudPort = 8443;

struct Answer {
  std::string body;
  int status = 200;
  std::string type = "application/json";
  // 0: send the whole body. Else close the connection after that many bytes of it.
  std::size_t cutAfter = 0;
};

struct Request {
  std::string path;
  std::string body;
  std::string contentType;
  bool expects = false;  // has an "Expect" header
};

class TestCloud {
 public:
  // Serves with the certificate in `certs` (server.pem, server.key) until destroyed.
  explicit TestCloud(const std::string& certs);
  TestCloud(const TestCloud&) = delete;
  TestCloud& operator=(const TestCloud&) = delete;
  ~TestCloud();

  // Answers every request of `path` from now on; an unknown path gets an HTML page and 404.
  void Set(const std::string& path, Answer answer);
  // Answers manifest requests of `version` for `processname` ("" for all).
  void SetManifest(const std::string& version, const std::string& text,
                   const std::string& processname = "");
  // Makes a component's file downloadable: its location and its bytes.
  void SetFile(const std::string& filename, const std::string& version, Answer file);

  // The paths asked for since the last call, in order; a manifest request as "<version> <process>".
  [[nodiscard]] std::vector<std::string> Asked();
  // The last request as it came.
  [[nodiscard]] Request LastRequest();

 private:
  struct Server;
  std::unique_ptr<Server> server_;
};

// The manifest of the given "processes" elements, and one element of it. "components" elements are
// "<filename> <version> <localpath> <bytes>" each.
[[nodiscard]] std::string Manifest(const std::vector<std::string>& processes);
[[nodiscard]] std::string ProcessJson(const std::string& name, const std::string& version,
                                      const std::vector<std::string>& components = {});
