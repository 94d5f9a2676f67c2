// The comparison that every component file must pass before it is used.
#pragma once

#include <string>

// True when the file at `path` can be read and its MD5, as 32 lowercase hexadecimal digits, equals
// `checksum` to the letter. Logs "CheckIntegrity <computed> vs. <checksum>" on every comparison, or
// "Failed to open file ..." and nothing else when there is no file to read, or a pipe or a device.
// A read error counts as the end of the file. Reads the whole file through a small buffer; blocks
// that long. Throws std::bad_alloc. Any thread.
[[nodiscard]] bool CheckIntegrity(const std::string& path, const std::string& checksum);
