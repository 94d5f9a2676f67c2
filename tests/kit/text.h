// Texts as tests write them down, and what the product makes of their bytes.
#pragma once

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/hex.h"

// `text` with double quotes for single ones.
[[nodiscard]] inline std::string Json(std::string text) {
  std::replace(text.begin(), text.end(), '\'', '"');
  return text;
}

[[nodiscard]] inline std::vector<char> Bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

[[nodiscard]] inline std::string Md5(const std::string& bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr), 1);
  return LowercaseHex(digest, length);
}
