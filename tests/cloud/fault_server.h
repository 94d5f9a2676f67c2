// A real HTTPS server on the cloud's port, as good or bad as a test wants it.
#pragma once

#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

#include <csignal>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

// Serves until destroyed. With each client it takes the steps of `script`, which have "|" between
// them, and then closes the connection properly:
//   tls [NAME FROM UNTIL]  TLS from here on, with the certificate NAME of those that the build
//             made ("/server" by default), valid from and until so many hours from now
//   hear           receives the request
//   >TEXT, ~TEXT   sends TEXT, with CR LF for a line break; in 10 ms a byte
//   fill N, stall  sends so many "x"; waits until the client leaves
//   fin, rst       ends or resets the connection, and no word of it in TLS
// "deaf", alone: lets one client connect, accepts none.
class FaultServer {
 public:
  explicit FaultServer(std::string script) {
    BIO_set_bind_mode(door_, BIO_SOCK_REUSEADDR | BIO_SOCK_NODELAY);
    EXPECT_EQ(BIO_do_accept(door_), 1) << "to listen";
    if (script == "deaf" && listen(Socket(door_), 0) == 0) return;
    (void)std::signal(SIGPIPE, SIG_IGN);
    for (std::size_t at = 0; (at = script.find('\n', at)) < script.size(); at += 2)
      script.insert(at, "\r");
    thread_ = std::thread([this, script = std::move(script)] {
      while (BIO_do_accept(door_) > 0) Play(script, BIO_pop(door_));
    });
  }
  ~FaultServer() {
    (void)shutdown(Socket(door_), SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
    BIO_free(door_);
  }

 private:
  static int Socket(BIO* bio) { return static_cast<int>(BIO_get_fd(bio, nullptr)); }

  static SSL_CTX* Context(const std::string& step) {
    static auto& contexts = *new std::map<std::string, SSL_CTX*>;  // making one takes long
    SSL_CTX*& context = contexts[step];
    if (context != nullptr) return context;
    std::string verb, name = "/server";
    int from = 0, until = 0;
    std::istringstream(step) >> verb >> name >> from >> until;
    name = TOLVAR_TEST_CERTS + name;
    context = SSL_CTX_new(TLS_server_method());
    SSL_CTX_use_certificate_file(context, (name + ".pem").c_str(), SSL_FILETYPE_PEM);
    SSL_CTX_use_PrivateKey_file(context, (name + ".key").c_str(), SSL_FILETYPE_PEM);
    if (from == until) return context;
    X509* certificate = SSL_CTX_get0_certificate(context);
    X509_gmtime_adj(X509_getm_notBefore(certificate), from * 3600L);
    X509_gmtime_adj(X509_getm_notAfter(certificate), until * 3600L);
    SSL_CTX* authority = SSL_CTX_new(TLS_method());
    SSL_CTX_use_PrivateKey_file(authority, TOLVAR_TEST_CERTS "/ca.key", SSL_FILETYPE_PEM);
    EXPECT_GT(X509_sign(certificate, SSL_CTX_get0_privatekey(authority), EVP_sha256()), 0);
    SSL_CTX_free(authority);
    return context;
  }
  static void Send(BIO* stream, const std::string& text, bool slowly = false) {
    for (std::size_t at = 0, size = slowly ? 1 : text.size(); at < text.size(); at += size) {
      if (BIO_write(stream, &text[at], static_cast<int>(size)) <= 0) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(slowly ? 10 : 0));
    }
  }
  static void Play(const std::string& script, BIO* stream) {
    const sockaddr nobody = {AF_UNSPEC, {}};
    char heard[16384];  // a request comes in one piece
    std::istringstream steps(script);
    for (std::string step; std::getline(steps, step, '|');) {
      if (step.rfind("tls", 0) == 0) stream = BIO_push(BIO_new_ssl(Context(step), 0), stream);
      if (step == "hear") (void)BIO_read(stream, heard, sizeof heard);
      if (step[0] == '>' || step[0] == '~') Send(stream, step.substr(1), step[0] == '~');
      if (step.rfind("fill", 0) == 0) Send(stream, std::string(std::stoul(step.substr(4)), 'x'));
      while (step == "stall" && BIO_read(stream, heard, sizeof heard) > 0) continue;
      if (step == "fin") (void)shutdown(Socket(stream), SHUT_WR);
      if (step == "rst") (void)connect(Socket(stream), &nobody, sizeof nobody);
    }
    BIO_free_all(stream);
  }

  BIO* const door_ = BIO_new_accept("127.0.0.1:8443");
  std::thread thread_;
};
