# Compiler flags of the whole project and the switches of a build.
option(QUILLMERE_TESTS "Build the tests" ON)
option(QUILLMERE_BENCH "Build the benchmarks" OFF)
option(QUILLMERE_FUZZ "Build the fuzz targets" OFF)
option(QUILLMERE_SANITIZE "Address and undefined-behaviour sanitizers" OFF)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wshadow -Wnon-virtual-dtor)
# A fused multiply-add would round differently from one processor to the next.
add_compile_options(-ffp-contract=off)

if(QUILLMERE_SANITIZE)
  set(CMAKE_CXX_FLAGS_RELEASE "-O1 -g1")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(QUILLMERE_SANITIZED)
else()
  # Hardened as Debian hardens its own packages.
  set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
  add_compile_options(-fstack-protector-strong -D_FORTIFY_SOURCE=2 -Wformat
                      -Werror=format-security)
  add_link_options(-Wl,-z,relro -Wl,-z,now -pie -Wl,-O1 -Wl,--as-needed -Wl,--hash-style=gnu)
endif()
if(QUILLMERE_FUZZ)
  add_compile_options(-fsanitize-coverage=trace-pc)
endif()
