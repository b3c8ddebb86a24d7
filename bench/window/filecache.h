#pragma once
// What the system keeps of files in memory. Plain functions, any thread.

#include <QStringList>

namespace FileCache
{
/// The files that a process has mapped, its program and libraries among them.
QStringList mappedBy(uint process);

/// All files below a folder.
QStringList below(const QString &folder);

/// Lets go of what is kept of these files, as far as no process has it mapped.
void drop(const QStringList &files);
} // namespace FileCache
