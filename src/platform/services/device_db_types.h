#ifndef TAVPLATFORM_DB_TYPES_H
#define TAVPLATFORM_DB_TYPES_H

// The types and codes of the device database's function interface (device_db_api.h).

#include "device_db_result.h"

extern "C" {

// Schema type codes.
enum {
    DB_TYPE_TIME = 2,       // 4-byte time value
    DB_TYPE_CHAR_TEXT = 8,  // zero-terminated 8-bit text
    DB_TYPE_UCS2_TEXT = 32, // zero-terminated 16-bit text
    DB_TYPE_INT16 = 128,    // 2-byte integer
    DB_TYPE_INT32 = 256,    // 4-byte integer
};

// Binding codes, one per schema type.
enum {
    DB_BIND_TIME = 1,
    DB_BIND_INT16 = 2,
    DB_BIND_INT32 = 3,
    DB_BIND_CHAR_TEXT = 8,
    DB_BIND_UCS2_TEXT = 10,
};

// Cursor orders.
enum {
    DB_CURSOR_ASCENDING = 1,
    DB_CURSOR_DESCENDING = 2,
};

// One field of a table schema, 44 bytes as laid out in memory. A schema is an array of them
// ended by an entry whose tag is zero.
typedef struct DB_SCHEMA_T {
    char tag[4];         // "dste" in every field entry
    char name[32];       // zero-terminated, zero-padded
    unsigned short size; // bytes of the field's value (text: terminator included)
    unsigned short type; // DB_TYPE_*
    unsigned short flag; // 1: the field is indexed
    unsigned short reserved;
} DB_SCHEMA_T;

// One field of a record structure: which table field lives where in the record.
typedef struct DB_BIND_T {
    const char* name;    // table field name
    unsigned int code;   // DB_BIND_*
    unsigned int offset; // byte offset in the record
    unsigned int size;   // bytes in the record
} DB_BIND_T;

// Returns the binding array and writes its entry count.
typedef const DB_BIND_T* (*DB_BIND_FUNC_T)(unsigned int* count);

} // extern "C"

#endif
