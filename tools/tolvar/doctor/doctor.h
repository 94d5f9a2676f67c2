// `tolvar doctor`: whether this device has what the plug-in and its host need.
#pragma once

#include <CLI/App.hpp>

// Adds the subcommand `doctor` with its options to `app`. When it is called it prints its findings
// on standard output and sets `status`: 0, or 1 when something is bad. `status` must outlive `app`.
void AddDoctor(CLI::App& app, int& status);
