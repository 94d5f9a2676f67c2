#include "platform/shell.h"

#include <cstdlib>

bool RunShell(const std::string& commandLine) { return std::system(commandLine.c_str()) != -1; }
