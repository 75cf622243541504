#ifndef TAVMMS_GLOBAL_H
#define TAVMMS_GLOBAL_H

// The library is built with hidden symbols; only what carries this mark is its public API.
#define TAVMMS_EXPORT __attribute__((visibility("default")))
// For what an exported class holds but does not export, such as its private implementation.
#define TAVMMS_HIDDEN __attribute__((visibility("hidden")))

#endif
