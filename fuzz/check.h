#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends a fuzzer's run with the broken invariant, in every build type.
#define FUZZ_CHECK(condition)                                                      \
  do {                                                                             \
    if (!(condition)) {                                                            \
      std::fprintf(stderr, "%s:%d: broken: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                \
    }                                                                              \
  } while (false)
