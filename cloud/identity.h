// The device's identity: what every request to the cloud carries. Main loop's thread.
#pragma once

#include <string>

// Puts the hardware address of the network interface `interfaceName` into `mac`, as 12 lowercase
// hexadecimal digits. 0, or 1 with `mac` as it was and no message: the name has 16 characters or
// more, or the interface is missing, down or not Ethernet.
[[nodiscard]] int GetMACAddress(const std::string& interfaceName, std::string& mac);

// Puts the device token into `enr`: what follows the first "r_encr=" (anywhere in a line) of
// /etc/config/.user_config, else of /config/.user_config, cut to 16 characters and otherwise as it
// stands. 0, or 1 with `enr` as it was and no message when neither file has one. Throws
// std::bad_alloc: without memory for a line of the first file the second one's token would be sent.
[[nodiscard]] int GetENR(std::string& enr);

// The wall clock in milliseconds since the epoch, as decimal text.
[[nodiscard]] std::string GetTimestampInMs();
