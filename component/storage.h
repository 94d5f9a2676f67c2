// Where the copies of a component's file lie, and the operations on files and directories.
//
//   live file          `localpath`, from the manifest
//   pre-download slot  `localpath` + ".predownload", beside the live file
//   cache slot         "/media/mmc/.ota/" + hexadecimal hash of `localpath`, on the SD card
//
// The cache slot's name does not depend on the version: a live file has one slot, and a newer
// download replaces the older copy there.
//
// Copying and removing are command lines for the shell: a failed "cp" or "rm" shows only later, in
// the check of the copied file. Writing and copying over a program's file wait until the kernel
// lets go of it ("Text file busy" of a program just killed), for at most 2 seconds. Nothing throws
// but for want of memory; integer results are 0 for success and 1 for failure. All run on the
// caller's thread and block as long as files and shell do.
#pragma once

#include <string>
#include <vector>

// The directory at which the SD card is mounted, "/media/mmc/"; nothing writes it.
extern const std::string sdCardRoot;

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

// Whether `sdCardRoot` is a directory, whatever lies behind it.
[[nodiscard]] bool SDCardMounted();

// The pre-download slot of the live file `path`.
[[nodiscard]] std::string PreDownloadPath(const std::string& path);

// The cache slot of the live file `path`, whether or not a card is mounted.
[[nodiscard]] std::string CachedPath(const std::string& path);

// Runs "rm -f PATH". Fails only when the shell could not be run. A path with characters outside
// letters, digits and "_./@%+=:,-" is single-quoted; any other stands as it is.
[[nodiscard]] int RemovePath(const std::string& path);

// Creates the parent of `dst` when it is missing, then runs "cp -a SRC DST" (destination first
// here, source first there), quoted like RemovePath. Fails, without a message, when the parent
// cannot be created or the shell could not be run.
[[nodiscard]] int CopyToPath(const std::string& dst, const std::string& src);

// Writes `data` to `path`, replacing what it held. Fails only when `path` cannot be opened, with
// "Failed to open file ..."; a short write goes unnoticed until the file is verified.
[[nodiscard]] int WriteFile(const std::string& path, const std::vector<char>& data);

// Creates the parent of `path` when it is missing ("Failed to create dir ..." when that fails),
// then WriteFile.
[[nodiscard]] int WriteToPath(const std::string& path, const std::vector<char>& data);
