// The plug-in's only output besides the processes and their files: lines on standard output.
#pragma once

#include <string>

// Writes `text` and a line feed to standard output in one piece and flushes it. Numbers belong into
// the text already (ToString): nothing here depends on stream flags or a locale that the host may
// have left. A line that cannot be written is lost without a trace. Any thread; blocks as long as
// standard output does.
void Log(const std::string& text);
