// What all tests of whole transfers share: a device, a server that behaves in some way, and the two
// requests that meet it.
#pragma once

#include <curl/curl.h>

#include <string>
#include <vector>

#include "tests/cloud/fault_server.h"
#include "tests/kit/device.h"

// A way that a server may behave, and what a request to it comes to.
struct Exchange {
  const char* name;
  std::vector<Step> server;
  CURLcode code;
  std::string kept;  // of the body
};

class TransferTest : public DeviceTest {
 protected:
  TransferTest();

  // Has the device trust the certificates of a file and no other.
  static void Trust(const std::string& path);

  // Has a file and the API served in each of these ways.
  void Meet(const std::vector<Exchange>& exchanges);

  // The same over TLS, from the moment when the request was heard.
  void MeetAnswers(const std::vector<Exchange>& exchanges);

  // Requests both from whatever server there is, or none.
  void ExpectNothingButCode(CURLcode code);
};
