// Must not compile: a program built against the library sees its public headers only.
#include "sqlite_database.h"
