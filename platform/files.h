// Files and directories: looking, creating, writing, and the two commands that copy and remove.
//
// Copying and removing are command lines for the shell: a failed "cp" or "rm" shows only later, in
// the check of the copied file. Writing and copying over a program's file wait until the kernel
// lets go of it ("Text file busy" of a program just killed), for at most 2 seconds. Nothing here
// waits for the other end of a pipe. Nothing throws but for want of memory; integer results are 0
// for success and 1 for failure. All run on the caller's thread and block as long as files and
// shell do.
#pragma once

#include <string>
#include <vector>

#include "platform/descriptor.h"

// What stands before the last "/" of `path`; "." without one. "/a" gives the empty string.
[[nodiscard]] std::string ParentPath(const std::string& path);

// Whether `path`, symbolic links followed, is a directory.
[[nodiscard]] bool DirExists(const std::string& path);

// Creates `path` and the parents that are missing, each with mode 0700. Fails for a directory that
// exists, and for one directly under "/", whose parent's name is empty: callers ask DirExists
// first.
[[nodiscard]] int CreateDir(const std::string& path);

// Whether the process may read `path`.
[[nodiscard]] bool FileExists(const std::string& path);

// Opens `path` for reading. Not open afterwards when it cannot be, or is anything but a regular
// file (or a directory, of which nothing can be read): a pipe would keep its reader waiting, a
// device never end.
[[nodiscard]] Descriptor OpenForReading(const std::string& path);

// Runs "rm -f PATH", with the path as platform/shell_word.h writes it. Fails only when the shell
// could not be run.
[[nodiscard]] int RemovePath(const std::string& path);

// Creates the parent of `dst` when it is missing, then runs "cp -a SRC DST" (destination first
// here, source first there). Fails, without a message, when the parent cannot be created, `dst` is
// a pipe or in memory that does not hold what `src` adds to it, or the shell could not be run.
[[nodiscard]] int CopyToPath(const std::string& dst, const std::string& src);

// Writes `data` to `path`, replacing what it held. Fails only when `path` cannot be opened, with
// "Failed to open file ..."; a short write goes unnoticed until the file is verified. A file system
// in memory counts as full where memory does not hold `data` once more.
[[nodiscard]] int WriteFile(const std::string& path, const std::vector<char>& data);

// Creates the parent of `path` when it is missing ("Failed to create dir ..." when that fails),
// then WriteFile.
[[nodiscard]] int WriteToPath(const std::string& path, const std::vector<char>& data);
