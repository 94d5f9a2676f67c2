// The plug-in's only output besides the processes and their files: lines on standard output.
#pragma once

#include <string_view>

// Writes `text` and a line feed to standard output in one piece, past whatever buffers, flags and
// locales the host has set on its streams; what the C library holds back for it goes out first.
// Numbers belong in the text already. Allocates nothing. Any thread.
//
// Blocks as long as standard output does. Where the host has made that non-blocking, a second
// without progress drops the rest of the line. Its end then comes with the next line, which begins
// on a line of its own all the same, and is dropped without waiting while nothing at all is taken.
// When nobody can read any more, lines are lost; the SIGPIPE of that does not reach the host.
void Log(std::string_view text);
