#include "tools/cloud/serve.h"

#include <sys/socket.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

#include "tools/cloud/device_api.h"
#include "tools/cloud/http.h"
#include "tools/cloud/manifest.h"

namespace {

constexpr char json[] = "application/json";

void Refuse(httplib::Response& response, int status, const std::string& message) {
  Json body;
  body["error"] = {{"code", status}, {"message", message}};
  response.status = status;
  // A message may carry what a request gave, which need not be UTF-8.
  response.set_content(body.dump(-1, ' ', false, Json::error_handler_t::replace), json);
}

void RefuseThrown(const httplib::Request&, httplib::Response& response, std::exception_ptr thrown) {
  try {
    std::rethrow_exception(std::move(thrown));
  } catch (const Refusal& refusal) {
    Refuse(response, refusal.status, refusal.message);
  } catch (const std::exception& error) {
    Refuse(response, 500, error.what());
  }
}

void SetRoutes(const ServerSettings& settings, httplib::Server& server) {
  const ReleaseFolder& folder = settings.folder;
  server.Post("/device/process/get_processes", [&](const auto& request, auto& response) {
    response.set_content(ProcessesAnswer(folder, request.body), json);
  });
  server.Post("/device/process/get_download_location", [&](const auto& request, auto& response) {
    response.set_content(LocationAnswer(folder, settings.filesUrl, request.body), json);
  });
  server.Get("/files/([^/]*)/([^/]*)", [&](const auto& request, auto& response) {
    const std::string filename = request.matches[1];
    const std::string version = request.matches[2];
    if (!IsPathElement(filename) || !IsPathElement(version)) throw Refusal{400, "no plain names"};
    SendFile(folder.ComponentPath(filename, version), request, response);
  });
  server.set_exception_handler(RefuseThrown);
  server.set_error_handler([](const auto&, auto& response) {
    // What the library refuses by itself arrives here without a body. It would cut one to a range.
    if (!response.body.empty() || response.status == 416) return;
    Refuse(response, response.status, "no such path, method or body");
  });
  server.set_logger(LogRequest);
}

void SetLimits(httplib::Server& server) {
  server.set_payload_max_length(65536);  // a request has a few hundred bytes
  // A device makes a connection per request; idle ones would only hold up the end.
  server.set_keep_alive_max_count(1);
  // The library's default shares a busy port with its other user instead of reporting it.
  server.set_socket_options([](socket_t socket) {
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
}

void ListenUntilSignal(const std::string& place, httplib::Server& server) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT}) sigaddset(&signals, signal);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  server.new_task_queue = [&] {  // asked for when the library's stop() works
    LogLine("listening on https://" + place);
    std::thread([&server, signals] {
      int received = 0;
      sigwait(&signals, &received);
      server.stop();
    }).detach();
    return new httplib::ThreadPool(CPPHTTPLIB_THREAD_POOL_COUNT);
  };
  if (!server.listen_after_bind()) throw std::runtime_error("accepting connections failed");
}

}  // namespace

void Serve(const ServerSettings& settings) {
  settings.folder.RequireRoot();
  for (const auto& file : {settings.certificateFile, settings.keyFile}) (void)OpenFile(file);
  httplib::SSLServer server(settings.certificateFile.c_str(), settings.keyFile.c_str());
  const std::string pair = settings.certificateFile + " and " + settings.keyFile;
  if (!server.is_valid()) throw std::runtime_error(pair + " are no PEM certificate and its key");
  SetRoutes(settings, server);
  SetLimits(server);
  const std::string place = settings.address + ":" + std::to_string(settings.port);
  errno = 0;  // stays so when the address is a name without one
  if (!server.bind_to_port(settings.address, settings.port)) {
    throw std::system_error(errno != 0 ? errno : EADDRNOTAVAIL, std::generic_category(),
                            "cannot listen on " + place);
  }
  ListenUntilSignal(place, server);
}
