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

/// The searches of that store alone, for a process beside its owner: it takes no lock, makes and
/// changes nothing, and can be connected whether or not the store is in use. It knows one
/// collection, the first of the store, which has to have been made with @p schema and @p index.
/// Every call that would change something is answered with NOT_SUPPORTED. STORE_DAMAGED from
/// Connect() where the file that searches run over is missing or another one: its owner makes it at
/// its next start.
std::shared_ptr<Database> reader(const CollectionSchema &schema, const IndexDesc &index);

/// Answers every call with NO_BACKEND.
std::shared_ptr<Database> null();
} // namespace VectorDB::DatabaseLoader
