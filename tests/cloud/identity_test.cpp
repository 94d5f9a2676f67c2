#include "cloud/identity.h"

#include "cloud/http_request.h"
#include "tests/kit/device.h"

using IdentityTest = DeviceTest;

TEST_F(IdentityTest, OnlyAnInterfaceThatIsUpAndEthernetHasAnAddress) {
  std::string mac = "before";
  for (const char* name : {"lo", "wlan1", "", "fifteen-letters", "sixteen--letters"}) {
    EXPECT_EQ(GetMACAddress(name, mac), 1) << name;
  }
  EXPECT_EQ(std::system("ip link set wlan0 down"), 0);
  EXPECT_EQ(HttpRequest::Instance()->Init() + GetMACAddress("wlan0", mac), 2);
  EXPECT_EQ(mac + log.Text(), "before");
  EXPECT_EQ(std::system("ip link set wlan0 name fifteen-letters address 02:00:0a:ff:00:0f up"), 0);
  EXPECT_EQ(GetMACAddress("fifteen-letters", mac), 0);
  EXPECT_EQ(mac, "02000aff000f");
}
