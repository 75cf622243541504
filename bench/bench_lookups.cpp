// Contact look-ups through MMS_UTIL_Common against address books of growing size.

#include <benchmark/benchmark.h>
