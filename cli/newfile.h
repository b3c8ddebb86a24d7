#pragma once
// Files and directories that a command makes: never in place of what is there, and nobody else's to
// read. Plain functions, any thread.

#include <QFile>
#include <QString>

#include <memory>

namespace NewFile
{
/// A new file with mode 0600, open for writing. Null if something has that name already or it
/// cannot be made; @p error tells.
std::unique_ptr<QFile> make(const QString &path, QString &error);

/// Copies @p from to the new file @p path. False with @p error, and without the file.
bool copy(const QString &from, const QString &path, QString &error);

/// A new directory with mode 0700, or one that is there and empty.
bool makeFolder(const QString &path, QString &error);
} // namespace NewFile
