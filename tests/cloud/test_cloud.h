// A real HTTPS server on the cloud's port that answers what a test tells it to.
#pragma once

#include <gtest/gtest.h>
#include <httplib.h>

#include <map>
#include <string>
#include <thread>

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
    (void)https_.Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
      Fill(response, answers_.at(request.path));
    });
    EXPECT_TRUE(https_.bind_to_port("127.0.0.1", 8443));
    thread_ = std::thread([this] { (void)https_.listen_after_bind(); });
    while (!https_.is_running()) std::this_thread::yield();  // a stop before would be lost
  }
  ~TestCloud() {
    https_.stop();
    thread_.join();
  }
  // Before the first request.
  void Set(const std::string& path, const Answer& answer) { answers_[path] = answer; }

 private:
  static void Fill(httplib::Response& response, const Answer& answer) {
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
  std::map<std::string, Answer> answers_;
  std::thread thread_;
};
