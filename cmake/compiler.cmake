# Language, warnings and the flags that keep results equal on every target.

set(CMAKE_C_STANDARD 99)
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# On 32 bits, `stat` fails for files over 2 GiB and for dates after 2038 without these two.
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
# A fused multiply-add would round the fetch interval's factor differently on targets that have one.
add_compile_options(-ffp-contract=off)
include_directories("${CMAKE_CURRENT_SOURCE_DIR}")

add_library(tolvar_warnings INTERFACE)
target_compile_options(tolvar_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wcast-qual
  -Wformat=2 -Wundef -Wvla -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>)
