// How an answer's bytes come into memory.
#pragma once

#include <cstddef>
#include <vector>

// libcurl's write callback of every transfer: appends size * nmemb bytes to `body` and returns that
// number. Where it needs room, it makes enough for as many as the server announced, else for twice
// what is there. Where a large body would take more memory than the system has left, or
// memory is out, it returns 0, which ends the transfer as a failed one: an exception must not cross
// libcurl's frames. Main loop's thread.
std::size_t WriteBodyCallback(const char* data, std::size_t size, std::size_t nmemb,
                              std::vector<char>* body) noexcept;
