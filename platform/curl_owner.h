// Owners of what libcurl allocates. The global initialisation has none: it is paired by hand, since
// one path leaves it unbalanced on purpose (see cloud/transport.cpp).
#pragma once

#include <curl/curl.h>

#include <memory>

struct CurlEasyCleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
struct CurlListFree {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

using CurlHandle = std::unique_ptr<CURL, CurlEasyCleanup>;
using CurlList = std::unique_ptr<curl_slist, CurlListFree>;
