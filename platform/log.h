// The plug-in's only output besides the processes and their files: lines on standard output.
#pragma once

#include <string_view>

// Writes `text` and a line feed to standard output in one piece, past whatever buffers, flags and
// locales the host has set on its streams; what the C library holds back for it goes out first.
// Numbers belong in the text already (ToString). A line that cannot be written is lost; if nobody
// reads the pipe any more, SIGPIPE has its usual effect. Allocates nothing. Any thread; blocks as
// long as standard output does.
void Log(std::string_view text);
