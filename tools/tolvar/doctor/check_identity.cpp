// What every request to the cloud carries.
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"

namespace doctor {
namespace {

struct AddressesDelete {
  void operator()(ifaddrs* list) const noexcept { freeifaddrs(list); }
};
using Addresses = std::unique_ptr<ifaddrs, AddressesDelete>;

bool IsUp(const std::string& name) {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return false;
  const Addresses owner(list);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (name == entry->ifa_name && (entry->ifa_flags & IFF_UP) != 0) return true;
  }
  return false;
}

bool IsPlain(char c) { return c > ' ' && c <= '~'; }

Finding JudgeToken(const std::string& token) {
  if (token.empty()) {
    return Bad("nothing stands behind \"r_encr=\": the cloud gets an empty token",
               "write the device's token behind it");
  }
  if (!std::all_of(token.begin(), token.end(), IsPlain)) {
    return Bad("it holds a blank or a control character, which is sent as it stands",
               "end the line right behind the token, with a line feed alone");
  }
  return Ok(std::to_string(token.size()) + " characters");
}

}  // namespace

Finding CheckInterface(const Options& /*options*/) {
  std::string mac;
  if (GetMACAddress(interfaceName, mac) == 0) return Ok("up, address " + mac);
  const std::string name = interfaceName;
  if (if_nametoindex(interfaceName) == 0) {
    return Bad("no such interface: the supervisor waits for it for ever",
               "load its driver, or rename the wireless interface to " + name);
  }
  if (!IsUp(name)) {
    return Bad("down: the supervisor waits for it for ever",
               "ip link set " + name + " up, before the host starts");
  }
  return Bad("up, but without an Ethernet address: the supervisor waits for ever",
             "give the name " + name + " to the wireless interface");
}

Finding CheckToken(const Options& /*options*/) {
  std::string token;
  if (GetENR(token) == 0) return JudgeToken(token);
  const std::string cure = std::string("write a line r_encr=TOKEN into ") + tokenPaths[0];
  if (std::any_of(std::begin(tokenPaths), std::end(tokenPaths), FileExists)) {
    return Bad("no line with \"r_encr=\": the supervisor waits for it for ever", cure);
  }
  return Bad("no file that can be read: the supervisor waits for it for ever", cure);
}

}  // namespace doctor
