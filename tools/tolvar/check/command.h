// `tolvar check`: whether devices can live with a release.
#pragma once

#include <CLI/App.hpp>

// Adds the subcommand `check` with its options to `app`. When it is called it prints its findings
// on standard output and sets `status`: 0, or 1 when there is an error (with --strict, also a
// warning). `status` must outlive `app`.
void AddCheck(CLI::App& app, int& status);
