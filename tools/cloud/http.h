// What the server adds to the library's handling of requests. Any thread.
#pragma once

#include <httplib.h>

#include <filesystem>
#include <string>

// Has a file's bytes, all or the ranges asked for, read from the disk as they are sent. Throws
// Refusal when there is no such file; a range that it has not is status 416.
void SendFile(const std::filesystem::path& path, const httplib::Request& request,
              httplib::Response& response);

// A line on standard output; control characters are shown as "?".
void LogLine(std::string line);
// A line for a request: its telling fields, never a token or a credential, and the outcome.
void LogRequest(const httplib::Request& request, const httplib::Response& response);
