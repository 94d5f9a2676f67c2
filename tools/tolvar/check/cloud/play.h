// A device played against a cloud: every exchange that its life can bring, and what it would do
// with each answer. Nothing of this machine is touched; what is fetched is verified and dropped.
#pragma once

#include <string>
#include <vector>

#include "tools/tolvar/check/cloud/exchange.h"
#include "tools/tolvar/check/finding.h"

namespace check {

struct Exchange {
  enum class Verdict { Ok, Warning, Error };
  Verdict verdict = Verdict::Ok;
  std::string asked;
  std::string answer;  // status, size, time
  std::string device;  // what it would do
};

struct Play {
  std::vector<Exchange> exchanges;
  std::vector<Finding> findings;  // of the two manifests, by the rules
};

// Both labels' lists, each process of them alone, where each file is, and each file. Throws
// std::runtime_error when libcurl cannot be set up.
[[nodiscard]] Play PlayDevice(const Identity& identity);

// A table of the exchanges.
[[nodiscard]] std::string AsText(const std::vector<Exchange>& exchanges);

// An array of objects with "verdict", "asked", "answer", "device".
[[nodiscard]] std::string AsJson(const std::vector<Exchange>& exchanges);

}  // namespace check
