#include "platform/digest.h"

#include "platform/files.h"
#include "tests/kit/device.h"

namespace {

using DigestTest = DeviceTest;

std::string DigestOf(const std::string& bytes) {
  WriteText("/tmp/file", bytes);
  return Md5OfDescriptor(OpenForReading("/tmp/file").Get());
}

TEST_F(DigestTest, ItIsMd5WithLowercaseDigits) {
  EXPECT_EQ(DigestOf("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
}

TEST_F(DigestTest, NoByteIsLostAtTheEdgesOfABlock) {
  for (const std::size_t size : {1U, 1023U, 1024U, 1025U, 32767U, 32768U, 32769U, 100000U}) {
    const std::string bytes(size, '\xa5');
    EXPECT_EQ(DigestOf(bytes), Md5(bytes)) << size;
  }
}

}  // namespace
