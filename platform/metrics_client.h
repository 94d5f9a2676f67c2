// The device's metrics client: a separate shared library, reached across a dynamic boundary and
// never part of the plug-in. Where a device's own is absent, platform/metrics_standin.cpp is built
// in its place. All three are called from the main loop's thread.
#pragma once

extern "C" {

// Opens the client; called once, before anything else of the main loop.
void init_metrics_client(void);

// Submits one metric: `json` is a NUL-terminated JSON text, `key` its name. What the two numbers
// select is the library's own; the supervisor always passes 1 and 255. The result is the library's
// own as well. It must not block the caller for long.
int put_metrics_JSON(int kind, int level, const char* key, const char* json);

// Closes the client; called once, when the main loop has ended.
void deinit_metrics_client(void);
}
