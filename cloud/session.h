// One request to a server: libcurl's handle, what it holds on to, and the order in which all of it
// is set up and cleaned up. Both are seen from outside by who traces the calls: no option is set
// beyond those that the requests name, and none is missing.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <type_traits>
#include <vector>

struct CurlEasyCleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
struct CurlListFree {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

using CurlHandle = std::unique_ptr<CURL, CurlEasyCleanup>;
using CurlList = std::unique_ptr<curl_slist, CurlListFree>;

// Lives for one request, on the main loop's thread; there is only ever one at a time.
class Session {
 public:
  // Initialises libcurl's global state and makes the handle.
  Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  // Frees the headers, the handle and the global state, in this order. Without a handle the global
  // initialisation stays unbalanced: it is a count, the next request goes on from it.
  ~Session();

  // Whether there is a handle; without one nothing else may be called.
  [[nodiscard]] bool IsOpen() const { return handle_ != nullptr; }

  // Has the server's certificate and name verified against the device's CA bundle. The device
  // provides that file; without it every transfer fails. The result is libcurl's: where one of the
  // options could not be set, libcurl would trust by rules of its own, so nothing may be sent then.
  [[nodiscard]] CURLcode VerifyPeer();

  // Makes the request's headers, which the handle gets with Set(CURLOPT_HTTPHEADER). Null when
  // memory is missing.
  [[nodiscard]] curl_slist* MakeHeaders();

  // Sets one option. A refusal (out of memory) is not looked at: the transfer then fails. Numbers
  // must be given as long.
  template <typename Value>
  void Set(CURLoption option, Value value) {
    static_assert(!std::is_integral_v<Value> || std::is_same_v<Value, long>,
                  "libcurl reads numbers as long");
    (void)curl_easy_setopt(handle_.get(), option, value);
  }

  // Limits the whole transfer to `timeoutSec` seconds, has the answer appended to `body` and blocks
  // until the transfer has ended.
  [[nodiscard]] CURLcode Perform(long timeoutSec, std::vector<char>& body);

  // How many bytes the server of the transfer at hand has announced; -1 when it did not, or when
  // there is no transfer.
  [[nodiscard]] static curl_off_t AnnouncedBytes();

 private:
  CurlList headers_;
  CurlHandle handle_;
  // Of the transfer at hand. libcurl's write callback is given the body and nothing else.
  static CURL* performing_;
};

// The result of a request for libcurl's `code`: 0, or 2 with "Curl return code <code>" logged.
[[nodiscard]] int ResultOf(CURLcode code);
