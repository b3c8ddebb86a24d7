#pragma once
// A folder for copies of what may be secret. Plain function, any thread.

#include <QString>

#include <memory>

class QTemporaryDir;

namespace MemoryFolder
{
/// A new folder with mode 0700 and room for @p bytes, on a file system that lives in memory: what
/// stands in it never reaches a disk but by the system's swap. Null where there is none.
std::unique_ptr<QTemporaryDir> make(qint64 bytes);
} // namespace MemoryFolder
