#include "cloud/identity.h"

#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

#include "cloud/http_request.h"
#include "platform/clock.h"
#include "platform/descriptor.h"
#include "platform/files.h"
#include "platform/hex.h"
#include "platform/lines.h"
#include "platform/log.h"

namespace {

[[nodiscard]] bool Ask(const Descriptor& control, unsigned long question, ifreq& request) {
  return control.IsOpen() && ioctl(control.Get(), question, &request) == 0;
}

// The token in the first line of `path` that has one.
[[nodiscard]] bool FindToken(const char* path, std::string& token) {
  constexpr char key[] = "r_encr=";
  constexpr std::size_t maxTokenLength = 16;
  Lines lines(path);
  for (std::string line; lines.Next(line);) {
    const std::size_t at = line.find(key);
    if (at == std::string::npos) continue;
    token = line.substr(at + std::strlen(key), maxTokenLength);
    return true;
  }
  return false;
}

}  // namespace

int HttpRequest::Init() {
  if (GetMACAddress("wlan0", mac) != 0) return 1;
  Log("mac address " + mac);
  if (GetENR(enr) != 0) return 1;
  Log("Get enr successfully");
  return 0;
}

int GetMACAddress(const std::string& interfaceName, std::string& mac) {
  if (interfaceName.size() >= IFNAMSIZ) return 1;
  ifreq request = {};
  interfaceName.copy(request.ifr_name, interfaceName.size());

  // The flags and the address share the record's memory: look at each before the next question.
  const Descriptor control(socket(AF_UNIX, SOCK_DGRAM, 0));
  if (!Ask(control, SIOCGIFFLAGS, request)) return 1;
  if ((request.ifr_flags & IFF_UP) == 0) return 1;
  if (!Ask(control, SIOCGIFHWADDR, request)) return 1;
  if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER) return 1;

  std::array<unsigned char, 6> address = {};
  std::memcpy(address.data(), request.ifr_hwaddr.sa_data, address.size());
  mac = LowercaseHex(address.data(), address.size());
  return 0;
}

int GetENR(std::string& enr) {
  constexpr std::array<const char*, 2> candidates = {"/etc/config/.user_config",
                                                     "/config/.user_config"};
  for (const char* path : candidates) {
    if (FileExists(path) && FindToken(path, enr)) return 0;
  }
  return 1;
}

std::string GetTimestampInMs() { return std::to_string(NowMicros() / 1000); }
