#pragma once
// The C library's unlink and rmdir, replaced in the test program: removals fail or tell on command.
// Main thread of a test.

#include <QString>

#include <functional>

namespace FileRemoval
{
/// The next @p times removals of files whose path begins with @p path fail as busy ones do.
void refuse(const QString &path, int times);

/// How many are still to be refused.
int stillToRefuse();

/// Called before each removal of a file or a folder, from now on.
void before(const std::function<void()> &action);

/// Removals are the system's own again.
void reset();
} // namespace FileRemoval
