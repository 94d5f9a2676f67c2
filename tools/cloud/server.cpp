#include "tools/cloud/server.h"

#include <httplib.h>
#include <pthread.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <thread>

namespace standin {
namespace {

// The requests of the API are a few hundred bytes long.
constexpr std::size_t maxBodyBytes = std::size_t{64} * 1024;
// One TLS record. A block of several would have to reach a slow client within one write time-out.
constexpr std::size_t blockBytes = std::size_t{16} * 1024;
constexpr char json[] = "application/json";

// Any request's text may end up in the log: keep its line a line.
void Log(std::string line) {
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

std::string LogStart(const httplib::Request& request, const Answer& answer, int status) {
  std::string line = request.method + " " + request.path;
  if (!answer.note.empty()) line += " " + answer.note;
  line += " -> " + std::to_string(status);
  if (!answer.error.empty()) line += " " + answer.error;
  return line;
}

void Send(const httplib::Request& request, const Answer& answer, httplib::Response& response) {
  Log(LogStart(request, answer, answer.status));
  response.status = answer.status;
  response.set_content(answer.body, json);
}

bool SendBlock(std::ifstream& file, std::size_t offset, std::size_t length,
               httplib::DataSink& sink) {
  std::array<char, blockBytes> block;
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(block.data(), static_cast<std::streamsize>(std::min(length, block.size())));
  if (file.gcount() == 0) return false;
  return sink.write(block.data(), static_cast<std::size_t>(file.gcount()));
}

// The opened file stays what it was when another one is renamed into its place meanwhile.
void SendFile(const httplib::Request& request, const Answer& answer, httplib::Response& response) {
  const auto file = std::make_shared<std::ifstream>(*answer.file, std::ios::binary | std::ios::ate);
  if (!*file) return Send(request, ErrorAnswer(500, "the file cannot be read"), response);
  const auto bytes = static_cast<std::size_t>(file->tellg());
  response.status = request.ranges.empty() ? 200 : 206;
  const std::string line = LogStart(request, answer, response.status);
  Log(line + " " + std::to_string(bytes) + " bytes");
  response.set_content_provider(
      bytes, "application/octet-stream",
      [file](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        return SendBlock(*file, offset, length, sink);
      },
      [line](bool complete) {
        if (!complete) Log(line + " broken off");
      });
}

// A request that states no length has no body; the library would wait for one until it times out.
bool HasBody(const httplib::Request& request) {
  return request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
}

// What the library refuses by itself arrives here without a body, an exception as a 500.
void CompleteError(const httplib::Request& request, httplib::Response& response) {
  if (!response.body.empty()) return;
  const char* message = response.status < 500 ? "malformed or too long request" : "internal error";
  Send(request, ErrorAnswer(response.status, message), response);
}

void SetHandlers(const Service& service, httplib::Server& server) {
  const httplib::Server::Handler handle = [&](const httplib::Request& request,
                                              httplib::Response& response) {
    const Answer answer = HandleRequest(service, request.method, request.path, request.body);
    if (answer.file) return SendFile(request, answer, response);
    Send(request, answer, response);
  };
  server.set_pre_routing_handler([handle](const auto& request, auto& response) {
    if (HasBody(request)) return httplib::Server::HandlerResponse::Unhandled;
    handle(request, response);
    return httplib::Server::HandlerResponse::Handled;
  });
  constexpr char anyPath[] = R"([\s\S]*)";
  server.Get(anyPath, handle).Post(anyPath, handle).Put(anyPath, handle);
  server.Patch(anyPath, handle).Delete(anyPath, handle).Options(anyPath, handle);
  server.set_error_handler(CompleteError);
}

void SetLimits(httplib::Server& server) {
  server.set_payload_max_length(maxBodyBytes);
  // A device makes a connection per request; idle ones would only hold up the end.
  server.set_keep_alive_max_count(1);
  // The library's default shares a busy port with its other user instead of reporting it.
  server.set_socket_options([](socket_t socket) {
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "tolvar-cloud: %s\n", message.c_str());
  return 1;
}

// Before the server runs, its stop() does nothing: a signal has to wait for it.
void StopOnSignal(httplib::Server& server, const std::string& url) {
  while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  Log("listening on " + url);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  int received = 0;
  sigwait(&signals, &received);
  server.stop();
}

}  // namespace

int Serve(const ServerSettings& settings, const Service& service) {
  for (const auto& file : {settings.certificateFile, settings.keyFile}) {
    if (!ReadText(file)) return Fail("cannot read " + file);
  }
  httplib::SSLServer server(settings.certificateFile.c_str(), settings.keyFile.c_str());
  if (!server.is_valid()) {
    return Fail(settings.certificateFile + " and " + settings.keyFile +
                " are no PEM certificate and its key");
  }
  SetLimits(server);
  SetHandlers(service, server);
  const std::string place = settings.address + ":" + std::to_string(settings.port);
  if (!server.bind_to_port(settings.address, settings.port))
    return Fail("cannot listen on " + place);

  std::thread stopper([&] { StopOnSignal(server, "https://" + place); });
  const bool stoppedBySignal = server.listen_after_bind();
  // In case accepting failed. The signal is blocked and waited for, so it ends no thread.
  pthread_kill(stopper.native_handle(), SIGTERM);  // NOLINT(bugprone-bad-signal-to-kill-thread)
  stopper.join();
  return stoppedBySignal ? 0 : Fail("accepting connections failed");
}

}  // namespace standin
