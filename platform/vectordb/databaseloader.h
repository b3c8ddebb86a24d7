#pragma once
// Picks what Database::Create() gives. Owned by nobody, a function each. Any thread, but a choice
// is made before the first Create() that it is to affect.

#include "vectordb/database.h"

#include <functional>
#include <memory>

namespace VectorDB::DatabaseLoader
{
using Factory = std::function<std::shared_ptr<Database>()>;

/// From now on Create() gives what @p factory gives, null included; an empty one brings back the
/// store on this machine's disk. For tests.
void force(Factory factory);

/// The store on this machine's disk.
std::shared_ptr<Database> local();

/// Answers every call with NO_BACKEND.
std::shared_ptr<Database> null();
} // namespace VectorDB::DatabaseLoader
