#include "cloud/identity.h"

#include <cstdlib>

#include "cloud/http_request.h"
#include "tests/kit/device.h"

namespace {

using IdentityTest = DeviceTest;
using testing::ElementsAre;

constexpr char firstFile[] = "/etc/config/.user_config";
constexpr char secondFile[] = "/config/.user_config";

TEST_F(IdentityTest, TheTokenIsWhatFollowsTheFirstKey) {
  const struct {
    const char* first;  // null: the file is not there
    const char* second;
    const char* token;  // null: none
  } cases[] = {
      {"a=b\nfoo r_encr=ABCDEFGHIJKLMNOPQRS\n", nullptr, "ABCDEFGHIJKLMNOP"},
      {"r_encr=one\nr_encr=two\n", "r_encr=three\n", "one"},
      {"r_encr=short\r\n", nullptr, "short\r"},
      {"r_encr=a r_encr=b", nullptr, "a r_encr=b"},
      {"r_encr=\n", "r_encr=second", ""},
      {"R_ENCR=x\nr_encr =x\n", "r_encr=second", "second"},
      {"", nullptr, nullptr},
      {nullptr, "r_encr=second", "second"},
      {nullptr, nullptr, nullptr},
  };
  for (const auto& [first, second, token] : cases) {
    Remove(firstFile);
    Remove(secondFile);
    if (first != nullptr) WriteText(firstFile, first);
    if (second != nullptr) WriteText(secondFile, second);
    std::string enr = "before";
    EXPECT_EQ(GetENR(enr), token == nullptr ? 1 : 0);
    EXPECT_EQ(enr, token == nullptr ? "before" : token);
  }
}

TEST_F(IdentityTest, OnlyAnInterfaceThatIsUpAndEthernetHasAnAddress) {
  std::string mac = "before";
  for (const char* name : {"lo", "wlan1", "", "fifteen-letters", "sixteen--letters"}) {
    EXPECT_EQ(GetMACAddress(name, mac), 1) << name;
    EXPECT_EQ(mac, "before");
  }
  EXPECT_EQ(GetMACAddress("wlan0", mac), 0);
  EXPECT_EQ(mac, "02005e102030");
  ASSERT_EQ(std::system("ip link set wlan0 down && ip link set wlan0 name fifteen-letters && "
                        "ip link set fifteen-letters address 02:00:0a:ff:00:0f up"),
            0);
  EXPECT_EQ(GetMACAddress("fifteen-letters", mac), 0);
  EXPECT_EQ(mac, "02000aff000f");
}

TEST_F(IdentityTest, InitNeedsTheInterfaceThenTheToken) {
  HttpRequest client;
  Remove(firstFile);
  EXPECT_EQ(client.Init(), 1);
  EXPECT_THAT(log.Lines(), ElementsAre("mac address 02005e102030"));
  WriteText(firstFile, "r_encr=token\n");
  EXPECT_EQ(client.Init(), 0);
  EXPECT_EQ(HttpRequest::enr, "token");
  EXPECT_THAT(log.Lines(), ElementsAre("mac address 02005e102030", "Get enr successfully"));
  ASSERT_EQ(std::system("ip link set wlan0 down"), 0);
  EXPECT_EQ(client.Init(), 1);
  EXPECT_THAT(log.Lines(), ElementsAre());
}

}  // namespace
