// What the requests of cloud/ share: libcurl's options in their fixed order, and the transfer. No
// option beyond these is set; the order is seen from outside by who traces the calls.
#pragma once

#include <curl/curl.h>

#include <type_traits>
#include <vector>

// Sets one option. A refusal (out of memory) is not looked at: libcurl's default then stands, which
// for a missing CA file is its built-in one. Numbers must be given as long.
template <typename Value>
void SetOption(CURL* handle, CURLoption option, Value value) {
  static_assert(!std::is_same_v<Value, int>, "libcurl reads numbers as long");
  (void)curl_easy_setopt(handle, option, value);
}

// Has the server's certificate and name verified against the device's CA bundle. The device
// provides that file; without it every transfer fails.
void VerifyPeer(CURL* handle);

// Limits the whole transfer to `timeoutSec` seconds and has the answer appended to `body`.
void CollectBody(CURL* handle, long timeoutSec, std::vector<char>* body);

// Runs the transfer and blocks until it has ended: 0, or 2 with "Curl return code <code>" logged.
[[nodiscard]] int Perform(CURL* handle);
