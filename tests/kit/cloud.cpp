#include "tests/kit/cloud.h"

#include <httplib.h>

#include <map>
#include <mutex>
#include <sstream>
#include <thread>
#include <utility>

#include "platform/json_owner.h"
#include "tests/kit/device.h"

namespace {

std::string Text(const cJSON* object, const char* key) {
  const char* text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, key));
  return text == nullptr ? "" : text;
}

// What tells one answer from another: the path, or what a manifest or location request asks for.
std::string KeyOf(const httplib::Request& request) {
  const CJsonOwner body(cJSON_Parse(request.body.c_str()));
  const std::string version = Text(body.get(), "version");
  if (request.path == processesPath) return version + " " + Text(body.get(), "processname");
  if (request.path == locationPath) return Text(body.get(), "filename") + "@" + version;
  return request.path;
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ",") + part;
  return text;
}

}  // namespace

struct TestCloud::Server {
  explicit Server(const std::string& certs)
      : https((certs + "/server.pem").c_str(), (certs + "/server.key").c_str()) {}
  void Handle(const httplib::Request& request, httplib::Response& response);

  std::mutex mutex;  // guards the next three
  std::map<std::string, Answer> answers;
  std::vector<std::string> asked;
  Request last;
  httplib::SSLServer https;
  std::thread thread;
};

void TestCloud::Server::Handle(const httplib::Request& request, httplib::Response& response) {
  const std::lock_guard<std::mutex> lock(mutex);
  last = {request.path, request.body, request.get_header_value("Content-Type"),
          request.has_header("Expect")};
  asked.push_back(KeyOf(request));
  const auto found = answers.find(asked.back());
  const Answer answer = found != answers.end()
                            ? found->second
                            : Answer{"<html>no such page</html>", 404, "text/html"};
  response.status = answer.status;
  if (answer.cutAfter == 0) {
    response.set_content(answer.body, answer.type);
    return;
  }
  response.set_content_provider(
      answer.body.size(), answer.type,
      [answer](std::size_t offset, std::size_t /*length*/, httplib::DataSink& sink) {
        return offset == 0 && sink.write(answer.body.data(), answer.cutAfter);
      });
}

TestCloud::TestCloud(const std::string& certs) : server_(std::make_unique<Server>(certs)) {
  const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
    server_->Handle(request, response);
  };
  (void)server_->https.Get(".*", handler);
  (void)server_->https.Post(".*", handler);
  EXPECT_TRUE(server_->https.bind_to_port("127.0.0.1", cloudPort));
  server_->thread = std::thread([this] { (void)server_->https.listen_after_bind(); });
  while (!server_->https.is_running()) std::this_thread::yield();  // a stop before would be lost
}

TestCloud::~TestCloud() {
  server_->https.stop();
  server_->thread.join();
}

void TestCloud::Set(const std::string& path, Answer answer) {
  const std::lock_guard<std::mutex> lock(server_->mutex);
  server_->answers[path] = std::move(answer);
}

void TestCloud::SetManifest(const std::string& version, const std::string& text,
                            const std::string& processname) {
  Set(version + " " + processname, {text});
}

void TestCloud::SetFile(const std::string& filename, const std::string& version, Answer file) {
  const std::string path = "/files/" + filename + "/" + version;
  Set(filename + "@" + version,
      {R"({"data":{"filename":")" + filename + R"(","version":")" + version +
       R"(","url":"https://cloud.test:8443)" + path + R"("}})"});
  Set(path, std::move(file));
}

std::vector<std::string> TestCloud::Asked() {
  const std::lock_guard<std::mutex> lock(server_->mutex);
  return std::exchange(server_->asked, {});
}

Request TestCloud::LastRequest() {
  const std::lock_guard<std::mutex> lock(server_->mutex);
  return server_->last;
}

std::string Manifest(const std::vector<std::string>& processes) {
  return R"({"data":{"processes":[)" + Joined(processes) + "]}}";
}

std::string ProcessJson(const std::string& name, const std::string& version,
                        const std::vector<std::string>& components) {
  std::vector<std::string> elements;
  for (const std::string& component : components) {
    std::istringstream words(component);
    std::string filename, fileVersion, path, bytes;
    words >> filename >> fileVersion >> path >> bytes;
    elements.push_back(R"({"filename":")" + filename + R"(","localpath":")" + path +
                       R"(","version":")" + fileVersion + R"(","checksum":")" + Md5(bytes) +
                       R"("})");
  }
  return R"({"processname":")" + name + R"(","version":")" + version + R"(","entrypoint":"start )" +
         name + " " + version + R"(","components":[)" + Joined(elements) + "]}";
}
