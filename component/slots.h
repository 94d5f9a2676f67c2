// Where the copies of a component's file lie.
//
//   live file          `localpath`, from the manifest
//   pre-download slot  `localpath` + ".predownload", beside the live file
//   cache slot         "/media/mmc/.ota/" + hexadecimal hash of `localpath`, on the SD card
//
// The cache slot's name does not depend on the version: a live file has one slot, and a newer
// download replaces the older copy there. Any thread.
#pragma once

#include <string>

// The directory at which the SD card is mounted, "/media/mmc/"; nothing writes it.
extern const std::string sdCardRoot;

// Whether `sdCardRoot` is a directory, whatever lies behind it.
[[nodiscard]] bool SDCardMounted();

// The pre-download slot of the live file `path`.
[[nodiscard]] std::string PreDownloadPath(const std::string& path);

// The cache slot of the live file `path`, whether or not a card is mounted.
[[nodiscard]] std::string CachedPath(const std::string& path);
