#include "tools/tolvar/log/curl_code.h"

#include <array>

namespace devicelog {
namespace {

struct CurlCode {
  int code;
  const char* meaning;
  const char* advice;
};

constexpr CurlCode unknownCode = {0, "a code of libcurl",
                                  "See the list of libcurl's error codes (CURLE_...)."};

// Those that the product's transfers can meet.
// clang-format off
constexpr std::array<CurlCode, 19> codes = {{
    {1, "the protocol is not supported",
     "The address that the cloud gives must begin with https://."},
    {3, "the address is malformed", "Look at the address that the cloud gives for the file."},
    {5, "the proxy's name is not resolved", "Look at the proxy that the host's environment names."},
    {6, "the server's name is not resolved",
     "Look at the device's DNS, and at the network before it."},
    {7, "no connection to the server", "The server is down or a firewall is in between."},
    {16, "an error in HTTP/2", "Look at the server's or a proxy's HTTP/2."},
    {18, "the transfer ended early",
     "The server or a proxy cuts the answer short, or its length is wrong."},
    {23, "the answer does not fit into memory",
     "The file is larger than the memory that the device has left."},
    {27, "memory is missing", "Look at what takes the device's memory."},
    {28, "it took too long",
     "30 s for a request, 120 s for a file: the network is slow, or the file is large for it."},
    {35, "the TLS handshake failed",
     "Server and device have no TLS version or cipher in common, or it is no TLS server."},
    {52, "the server answered nothing", "Look at the server's log."},
    {55, "sending failed", "The network broke off."},
    {56, "receiving failed", "The network or the server broke off."},
    {60, "the server's certificate is not trusted",
     "Look at the device's clock first, then at /tmp/cacert.pem and the server's certificate."},
    {77, "the CA file cannot be read", "/tmp/cacert.pem is missing or no certificate file."},
    {80, "closing TLS failed", "Look at the server's log."},
    {83, "the certificate's issuer is another one",
     "Look at /tmp/cacert.pem and the server's certificate."},
    {92, "an HTTP/2 stream broke off", "Look at the server's or a proxy's HTTP/2."},
}};
// clang-format on

const CurlCode& Find(int code) {
  for (const CurlCode& known : codes) {
    if (known.code == code) return known;
  }
  return unknownCode;
}

}  // namespace

std::string CurlText(int code) {
  return "curl " + std::to_string(code) + ", " + Find(code).meaning;
}

const char* CurlAdvice(int code) { return Find(code).advice; }

}  // namespace devicelog
