// What can be wrong with a configuration that the product has read.
#pragma once

#include <string>
#include <vector>

namespace product {

struct ConfigRemark {
  enum class Kind {
    Unknown,     // a line that sets nothing and is no remark
    TakenAs,     // a line of which something else was stored
    AtOnce,      // an interval of 0
    Never,       // one of more than ten years
    AtOnceOnly,  // the same two where they harm no more than the reports
    NeverOnly
  };
  Kind kind;
  unsigned line;  // of the file, from 1; 0: the file as a whole
  std::string text;
};

// Has the product read the file `path` into its own intervals, and compares both. The file must be
// a regular one.
[[nodiscard]] std::vector<ConfigRemark> ReadConfiguration(const std::string& path);

// `text` between quotes, in printable ASCII (others are "?") and cut to 40 characters: it comes
// from a file that may hold anything.
[[nodiscard]] std::string Quoted(const std::string& text);

}  // namespace product
