// The MD5 by which devices verify a component file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace standin {

struct FileDigest {
  std::string md5;  // 32 lowercase hexadecimal digits
  std::uintmax_t bytes = 0;
};

// Reads the file once, in blocks; nothing when it is no readable regular file.
[[nodiscard]] std::optional<FileDigest> DigestOf(const std::filesystem::path& file);

}  // namespace standin
