#ifndef TAVPLATFORM_GLOBAL_H
#define TAVPLATFORM_GLOBAL_H

// The platform library is built with hidden symbols; what carries this mark is its interface.
#define TAVPLATFORM_EXPORT __attribute__((visibility("default")))

#endif
