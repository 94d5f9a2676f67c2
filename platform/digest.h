// The digest by which component files are told apart.
#pragma once

#include <string>

// The MD5 of what `descriptor` reads from its position to the end, as 32 lowercase hexadecimal
// digits. A read error counts as the end. Throws std::bad_alloc. Blocks for as long as reading and
// hashing take; any thread.
[[nodiscard]] std::string Md5OfDescriptor(int descriptor);
