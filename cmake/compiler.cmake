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

# The smallest build sees the whole library at once; the MIPS assembler's procedure tables serve
# nothing on Linux, and these three optimisations make the library 400 bytes larger there, each.
set(CMAKE_INTERPROCEDURAL_OPTIMIZATION_MINSIZEREL ON)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^mips")
  add_compile_options(-Wa,-mno-pdr -fno-ipa-sra -fno-move-loop-invariants -fno-gcse)
endif()

# A supervisor with the rights to kill and to replace programs is worth hardening. And two builds of
# one commit give the same files, wherever they are made; a debugger, and who counts the lines that
# were run, look for the sources where they are.
add_compile_options(-fstack-protector-strong)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." "-ffile-prefix-map=${CMAKE_BINARY_DIR}=build")
endif()
add_link_options(LINKER:-z,relro,-z,now LINKER:-z,noexecstack)

set(warning_options
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wcast-qual
  -Wformat=2 -Wundef -Wvla -Werror)
add_library(tolvar_warnings INTERFACE)
target_compile_options(tolvar_warnings INTERFACE ${warning_options}
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>)
