#include "sqlite_transactions.h"

#include "sqlite_statements.h"

#include <string>

namespace tavplatform::devicedb
{

using sql::Status;

namespace
{

// Savepoint names of nested transactions go by depth: only the innermost one is ever ended.
std::string savepointName(int depth)
{
    return "tav_txn_" + std::to_string(depth);
}

} // namespace

Transactions::Transactions(const std::unique_ptr<sql::Connection>& connection)
    : connection_(connection)
{
}

int Transactions::begin(void** txn)
{
    if (rolledBack())
        return DB_ERR_TXN_ROLLED_BACK;
    const Txn entry{int(stack_.size())};
    // The handle is made before the engine begins: a transaction begun without one could never
    // be ended, and every later DB_TXN_Begin would fail. Until then it is taken back on any way
    // out.
    stack_.reserve(stack_.size() + 1);
    const auto unregister = [this](void* handle) { txns_.erase(handle); };
    std::unique_ptr<void, decltype(unregister)> pending(txns_.add(entry), unregister);
    const Status status = entry.depth == 0
                              ? connection_->execCached(kBegin)
                              : connection_->execCached("SAVEPOINT " + savepointName(entry.depth));
    if (status != Status::Ok)
        return resultOf(status);
    stack_.push_back(pending.get()); // cannot throw: the room is reserved
    *txn = pending.release();
    return DB_OK;
}

int Transactions::commit(void* txn)
{
    if (const int r = checkCurrent(txn))
        return r;
    const Txn& entry = *txns_.find(txn);
    const Status status = entry.depth == 0
                              ? connection_->execCached(kCommit)
                              : connection_->execCached("RELEASE " + savepointName(entry.depth));
    // A transaction that failed to commit is left for DB_TXN_Abort to end, whether or not the
    // engine has rolled it back already.
    if (status == Status::Ok)
        end(txn);
    return resultOf(status);
}

int Transactions::abort(void* txn)
{
    if (const int r = checkCurrent(txn); r != DB_OK && r != DB_ERR_TXN_ROLLED_BACK)
        return r;
    const Txn& entry = *txns_.find(txn);
    Status status = Status::Ok;
    if (rolledBack()) {
        // The engine has undone everything already.
    } else if (entry.depth == 0) {
        status = connection_->execCached(kRollback);
    } else {
        const std::string savepoint = savepointName(entry.depth);
        status = connection_->execCached("ROLLBACK TO " + savepoint);
        if (status == Status::Ok)
            status = connection_->execCached("RELEASE " + savepoint);
    }
    end(txn);
    return resultOf(status);
}

int Transactions::checkCurrent(void* txn) const
{
    if (!txn)
        return DB_ERR_NULL_HANDLE;
    if (!txns_.contains(txn))
        return DB_ERR_INVALID_HANDLE;
    if (stack_.back() != txn)
        return DB_ERR_TXN_ORDER;
    return rolledBack() ? DB_ERR_TXN_ROLLED_BACK : DB_OK;
}

bool Transactions::rolledBack() const
{
    return !stack_.empty() && !connection_->inTransaction();
}

void Transactions::end(void* txn)
{
    txns_.erase(txn);
    stack_.pop_back();
}

} // namespace tavplatform::devicedb
