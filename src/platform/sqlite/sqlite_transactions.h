#ifndef TAVPLATFORM_SQLITE_TRANSACTIONS_H
#define TAVPLATFORM_SQLITE_TRANSACTIONS_H

#include "sqlconnection.h"
#include "sqlite_handles.h"

#include <memory>
#include <vector>

namespace tavplatform::devicedb
{

// The transactions open on the database's one connection, innermost last: the outermost is a
// transaction of the engine's, the others nest in it as savepoints. Only the innermost one runs
// statements or ends.
class Transactions
{
public:
    // `connection`: the database's connection, made on first use; it is open while any
    // transaction is.
    explicit Transactions(const std::unique_ptr<sql::Connection>& connection);

    bool isOpen(void* txn) const { return txns_.contains(txn); }
    // Begins a transaction inside those open, on the open connection, and gives its handle in
    // `txn`, which is left as it was on a failure.
    int begin(void** txn);
    int commit(void* txn);
    // Rolls back `txn` and ends it, also when the engine rolled it back already.
    int abort(void* txn);
    // The transaction that statements run in now: it must be open and the innermost one.
    int checkCurrent(void* txn) const;
    // The engine rolls a whole transaction back by itself after some failures (a full disk, an
    // I/O error). Its handles then stand for nothing: a statement run through them would be
    // committed on its own at once.
    bool rolledBack() const;

private:
    struct Txn {
        int depth; // 0 for the outermost transaction, which the others nest in as savepoints
    };

    void end(void* txn);

    const std::unique_ptr<sql::Connection>& connection_;
    Handles<Txn> txns_;
    std::vector<void*> stack_;
};

} // namespace tavplatform::devicedb

#endif
