// Checks that a file is a whole model of the kind that the embedding library reads: the library
// itself trusts every offset that it finds and would read beyond a file that was cut short.
// Thread: any.

#pragma once

#include <QString>

namespace coreai
{
// What is wrong with the model file at `path`, in words for the log; empty where it can be loaded.
// Only header, tables and extents are looked at, so it takes a few milliseconds; wrong weights
// inside a whole file are not found.
QString e5ModelFault(const QString &path);
} // namespace coreai
