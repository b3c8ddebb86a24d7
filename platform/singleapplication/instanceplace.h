#pragma once
// Where the first instance of a program listens, and whether one does: for itself, and for others
// who only want to know. Plain functions, any thread.

#include <QString>

#include <optional>

namespace InstancePlace
{
/// The directory of lock and socket of @p applicationName; nothing is made.
QString directory(const QString &applicationName);
QString socketPath(const QString &directory);

/// The id of the process that listens there, 0 if it cannot be told; nothing if none listens. It
/// sees a connection that is closed at once without a message, which it passes over.
std::optional<qint64> listener(const QString &applicationName);
} // namespace InstancePlace
