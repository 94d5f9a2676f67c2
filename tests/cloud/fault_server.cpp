#include "tests/cloud/fault_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <utility>

namespace {

struct BioFree {
  void operator()(BIO* chain) const { BIO_free_all(chain); }
};
struct ContextFree {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using Stream = std::unique_ptr<BIO, BioFree>;
using Context = std::unique_ptr<SSL_CTX, ContextFree>;

void SetNumber(int socket, int level, int option, int value) {
  EXPECT_EQ(setsockopt(socket, level, option, &value, sizeof value), 0);
}

int Listen(int backlog) {
  const int door = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  SetNumber(door, SOL_SOCKET, SO_REUSEADDR, 1);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(8443);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(bind(door, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(listen(door, backlog), 0);
  return door;
}

int SocketOf(BIO* stream) { return static_cast<int>(BIO_get_fd(stream, nullptr)); }

// Has the certificate valid for another time, signed anew by the cloud's authority.
void Date(SSL_CTX* context, const Validity& validity) {
  X509* certificate = SSL_CTX_get0_certificate(context);
  X509_gmtime_adj(X509_getm_notBefore(certificate), validity.from * 3600L);
  X509_gmtime_adj(X509_getm_notAfter(certificate), validity.until * 3600L);
  const Context signer(SSL_CTX_new(TLS_method()));
  SSL_CTX_use_PrivateKey_file(signer.get(), (cloudAuthority + ".key").c_str(), SSL_FILETYPE_PEM);
  EXPECT_GT(X509_sign(certificate, SSL_CTX_get0_privatekey(signer.get()), EVP_sha256()), 0);
}

Context MakeContext(const Tls& tls) {
  Context context(SSL_CTX_new(TLS_server_method()));
  const std::string pem = tls.certificate + ".pem", key = tls.certificate + ".key";
  EXPECT_EQ(SSL_CTX_use_certificate_file(context.get(), pem.c_str(), SSL_FILETYPE_PEM), 1);
  EXPECT_EQ(SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM), 1);
  if (tls.validity) Date(context.get(), *tls.validity);
  return context;
}

// False when the client has left.
bool Receive(BIO* stream) {
  std::array<char, 16384> heard;  // a request comes in one piece
  return BIO_read(stream, heard.data(), static_cast<int>(heard.size())) > 0;
}

bool SendText(BIO* stream, const std::string& text) {
  return BIO_write(stream, text.data(), static_cast<int>(text.size())) > 0;
}

// What a client that has left does not get any more is of no interest.
struct TakeStep {
  Stream& stream;

  void operator()(const Tls& tls) const {
    const Context context = MakeContext(tls);
    stream.reset(BIO_push(BIO_new_ssl(context.get(), 0), stream.release()));
  }
  void operator()(const Hear& /*step*/) const { (void)Receive(stream.get()); }
  void operator()(const Send& step) const { (void)SendText(stream.get(), step.text); }
  void operator()(const SendSlowly& step) const {
    for (const char byte : step.text) {
      if (!SendText(stream.get(), {byte})) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  void operator()(const Fill& step) const {
    (void)SendText(stream.get(), std::string(step.count, 'x'));
  }
  void operator()(const Stall& /*step*/) const {
    while (Receive(stream.get())) continue;
  }
  void operator()(const Fin& /*step*/) const { (void)shutdown(SocketOf(stream.get()), SHUT_WR); }
  void operator()(const Reset& /*step*/) const {
    const sockaddr nobody = {AF_UNSPEC, {}};
    (void)connect(SocketOf(stream.get()), &nobody, sizeof nobody);
  }
};

}  // namespace

Send Head(const std::string& status, std::initializer_list<std::string> headers) {
  std::string text = "HTTP/1.1 " + status + "\r\n";
  for (const std::string& header : headers) text += header + "\r\n";
  return {text + "\r\n"};
}

ServerSocket::~ServerSocket() { (void)close(descriptor_); }

DeafServer::DeafServer() : door_(Listen(0)) {}

FaultServer::FaultServer(std::vector<Step> steps) : steps_(std::move(steps)), door_(Listen(8)) {
  (void)std::signal(SIGPIPE, SIG_IGN);  // of clients that have left
  thread_ = std::thread(&FaultServer::Serve, this);
}

FaultServer::~FaultServer() {
  closed_ = true;
  (void)shutdown(door_.Get(), SHUT_RDWR);
  thread_.join();
}

// A client that neither leaves nor says anything must not keep the test from its end.
void FaultServer::Serve() {
  constexpr timeval patience = {20, 0};
  while (!closed_) {
    const int client = accept4(door_.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;  // closed, or a client that is gone already
    SetNumber(client, IPPROTO_TCP, TCP_NODELAY, 1);
    (void)setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    Stream stream(BIO_new_socket(client, BIO_CLOSE));
    for (const Step& step : steps_) std::visit(TakeStep{stream}, step);
  }
}
