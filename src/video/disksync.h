#pragma once
// Makes a finished file survive a loss of power. Any thread; blocks until the disk has answered.

#include <QString>

/// Brings the content of @p file and its entry in its directory to the disk. On failure false and
/// a line on the log.
bool syncToDisk(const QString &file);
