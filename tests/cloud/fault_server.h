// A real HTTPS server on the cloud's port, as good or bad as a test wants it.
#pragma once

#include <openssl/bio.h>

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

// Certificates that the build made, each NAME.pem with its NAME.key.
inline const std::string cloudAuthority = TOLVAR_TEST_CERTS "/ca";
inline const std::string cloudServer = TOLVAR_TEST_CERTS "/server";  // for the cloud's name
inline const std::string unknownAuthority = TOLVAR_TEST_CERTS "-unknown/ca";
inline const std::string unknownServer = TOLVAR_TEST_CERTS "-unknown/server";
inline const std::string otherAuthority = TOLVAR_TEST_CERTS "-other/ca";
inline const std::string otherServer = TOLVAR_TEST_CERTS "-other/server";  // for another name

// In hours from now.
struct Validity {
  long from = 0;
  long until = 0;
};

// The steps that a server takes with a client.
struct Tls {  // TLS from here on
  std::string certificate = cloudServer;
  std::optional<Validity> validity;  // in place of the certificate's own
};
struct Hear {};  // receives the request
struct Send {
  std::string text;
};
struct SendSlowly {  // 10 ms a byte
  std::string text;
};
struct Fill {  // sends so many "x"
  std::size_t count;
};
struct Stall {};  // waits until the client leaves
struct Fin {};    // ends the connection, and no word of it in TLS
struct Reset {};
using Step = std::variant<Tls, Hear, Send, SendSlowly, Fill, Stall, Fin, Reset>;

// The head of an answer: "HTTP/1.1 STATUS", a line for each header, and the empty line.
[[nodiscard]] Send Head(const std::string& status, std::initializer_list<std::string> headers = {});

// A socket, closed with its owner.
class ServerSocket {
 public:
  explicit ServerSocket(int descriptor) : descriptor_(descriptor) {}
  ServerSocket(const ServerSocket&) = delete;
  ServerSocket& operator=(const ServerSocket&) = delete;
  ~ServerSocket();
  [[nodiscard]] int Get() const { return descriptor_; }

 private:
  const int descriptor_;
};

// Has room for one client, lets it connect and does not say a word.
class DeafServer {
 public:
  DeafServer();

 private:
  const ServerSocket door_;
};

// Takes the steps with each client, one client at a time, and then closes the connection properly.
// Serves until destroyed.
class FaultServer {
 public:
  explicit FaultServer(std::vector<Step> steps);
  FaultServer(const FaultServer&) = delete;
  FaultServer& operator=(const FaultServer&) = delete;
  ~FaultServer();

 private:
  void Serve();

  const std::vector<Step> steps_;
  const ServerSocket door_;
  std::atomic<bool> closed_{false};
  std::thread thread_;
};
