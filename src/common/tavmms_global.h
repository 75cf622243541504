#ifndef TAVMMS_GLOBAL_H
#define TAVMMS_GLOBAL_H

// The library is built with hidden symbols; only what carries this mark is its public API.
#define TAVMMS_EXPORT __attribute__((visibility("default")))

#endif
