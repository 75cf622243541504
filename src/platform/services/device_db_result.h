#ifndef TAVPLATFORM_DB_RESULT_H
#define TAVPLATFORM_DB_RESULT_H

// Result codes of the device database. 0 is success; every failure has its own code.
enum {
    DB_OK = 0,
    DB_ERR_NULL_HANDLE = 1,      // a handle or an output location was null
    DB_ERR_INVALID_HANDLE = 2,   // a handle that is not (or no longer) open
    DB_ERR_INVALID_ARGUMENT = 3, // a bad name, schema, order or buffer size
    DB_ERR_NO_TABLE = 4,         // the table does not exist
    DB_ERR_TABLE_EXISTS = 5,     // DB_TABLE_Create of a table that exists
    DB_ERR_NO_FIELD = 6,         // a field name the table does not have
    DB_ERR_BIND_MISMATCH = 7,    // a binding entry disagrees with the table's schema
    DB_ERR_NOT_FOUND = 8,        // no record with that id, or none that meets the term
    DB_ERR_TXN_ACTIVE = 9,       // DB_TXN_Begin into a location that holds an open transaction
    DB_ERR_TXN_ORDER = 10,       // ending a transaction while one begun after it is still open
    DB_ERR_DISK_FULL = 11,       // no space left on the device
    DB_ERR_BUSY = 12,            // another process held the database past the busy timeout
    DB_ERR_CORRUPT = 13,         // the database file is damaged or not a database
    DB_ERR_IO = 14,              // the operating system failed a read or a write
    DB_ERR_CANT_OPEN = 15,       // the database file cannot be opened or created
    DB_ERR_READ_ONLY = 16,       // the database file or its directory is not writable
    DB_ERR_ID_EXHAUSTED = 17,    // no record id is left below 2^32
    DB_ERR_INTERNAL = 18,        // any other failure of the engine
    DB_ERR_TXN_ROLLED_BACK = 19, // the engine rolled the transaction back after a failure (a full
                                 // disk, an I/O error); DB_TXN_Abort is all that is left to do
    DB_ERR_NO_MEMORY = 20,       // memory ran out
};

#endif
