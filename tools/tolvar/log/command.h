// The command `tolvar log`.
#pragma once

namespace CLI {
class App;
}

// Adds it to `app`. When it is chosen, `status` is set to the tool's exit status: 0 done, 1 with a
// message on standard error.
void AddLog(CLI::App& app, int& status);
