// A good release, and what the tests of the rules do with it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tools/tolvar/check/judge.h"

inline constexpr char good[] = R"({"data": {"processes": [{
  "processname": "streamer",
  "version": "2",
  "entrypoint": "chmod +x /opt/app/streamer; setsid /opt/app/streamer >/run/log 2>&1 </dev/null &",
  "maxstartuptime": 60,
  "maxretries": 5,
  "components": [{
    "filename": "streamer",
    "localpath": "/opt/app/streamer",
    "version": "2",
    "checksum": "5d41402abc4b2a76b9719d911017c592"}]}]}})";

inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// "203 /data/processes/0/processname"
inline std::string Brief(const check::Finding& finding) {
  return std::to_string(static_cast<int>(finding.id)) + " " + finding.place;
}

inline std::vector<std::string> Briefs(const std::vector<check::Finding>& findings) {
  std::vector<std::string> briefs;
  briefs.reserve(findings.size());
  for (const check::Finding& finding : findings) briefs.push_back(Brief(finding));
  return briefs;
}

// The rules that some test has broken, and nothing else.
inline std::set<check::Id> tried;
