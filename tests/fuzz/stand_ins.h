// What stands in for the log, the cloud and the device's files where a target runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

extern std::size_t loggedLines;
extern std::string cloudAnswer;  // to each request for a manifest; a location is never to be had

// The bytes of a run as text.
[[nodiscard]] inline std::string TextOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Has the device's file at `path` hold `text`.
void PutFile(const std::string& path, const std::string& text);
