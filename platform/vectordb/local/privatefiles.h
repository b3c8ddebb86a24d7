#pragma once
// Folders and files that only their owner may read. Plain functions. Any thread.

#include "vectordb/status.h"

#include <string>

namespace VectorDB::PrivateFiles
{
/// The user's own store, with its closing "/": inside the encrypted box of this application where
/// that is mounted and can be written to, else below the cache directory; either below HOME, or the
/// home that the system knows. May change from call to call.
std::string defaultDirectory();

/// Makes @p path and what is missing above it with mode 0700, and gives @p path itself that mode.
Status makeDirectory(const std::string &path);

/// Makes an empty file unless it is there, and gives it mode 0600.
Status makeFile(const std::string &path);

/// STORE_FULL or IO_ERROR, from errno, "cannot " and @p doing before the system's reason.
Status systemFailure(const std::string &doing);
} // namespace VectorDB::PrivateFiles
