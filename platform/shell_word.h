// Paths on command lines.
#pragma once

#include <string>

// `path` as one word of a shell's command line. A plain one stays as it is, since command lines are
// seen from outside: any that has no blank, no control character and nothing that means something
// to the shell. Any other is put between single quotes.
[[nodiscard]] std::string ShellWord(const std::string& path);
