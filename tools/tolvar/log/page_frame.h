// The page's own text: what stands before and behind the data, from page/.
#pragma once

namespace devicelog {

extern const char pageBefore[];
extern const char pageBehind[];

}  // namespace devicelog
