#include "cloud/identity.h"

#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <fstream>

#include "cloud/http_request.h"
#include "component/storage.h"
#include "platform/clock.h"
#include "platform/hex.h"
#include "platform/log.h"
#include "supervisor/to_string.h"

namespace {

// A socket to ask the kernel about interfaces through; closed with its owner.
class ControlSocket {
 public:
  ControlSocket() : descriptor_(socket(AF_UNIX, SOCK_DGRAM, 0)) {}
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;
  ~ControlSocket() {
    if (descriptor_ >= 0) (void)close(descriptor_);  // nothing was written through it
  }
  [[nodiscard]] bool Ask(unsigned long question, ifreq& request) const {
    return descriptor_ >= 0 && ioctl(descriptor_, question, &request) == 0;
  }

 private:
  int descriptor_;
};

// The token in the first line of `path` that has one.
bool FindToken(const char* path, std::string& token) {
  constexpr char key[] = "r_encr=";
  constexpr std::size_t maxTokenLength = 16;
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
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
  const ControlSocket control;
  if (!control.Ask(SIOCGIFFLAGS, request)) return 1;
  if ((request.ifr_flags & IFF_UP) == 0) return 1;
  if (!control.Ask(SIOCGIFHWADDR, request)) return 1;
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

std::string GetTimestampInMs() { return ToString(NowMicros() / 1000); }
