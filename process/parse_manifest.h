// The process manifest: the cloud's answer that lists what a device must run.
#pragma once

#include <vector>

#include "process/process.h"

// Makes `body`, an answer as it was received, a text that ends at its first NUL, and returns that:
// it is what is parsed, and what is logged when that fails. Lives as long as `body`. Throws
// std::bad_alloc.
[[nodiscard]] const char* ManifestText(std::vector<char>& body);

// Reads the process manifest `text` (NUL-terminated JSON) into `out`, which is emptied first. 0, or
// 1 when it is not a manifest; `out` then holds the records before the faulty one and is to be
// ignored. Logs each component read and no failure: the callers do.
[[nodiscard]] int ParseManifest(const char* text, std::vector<Process>& out);
