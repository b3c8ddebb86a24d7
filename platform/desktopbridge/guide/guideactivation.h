#pragma once
// The file by which the session bus starts this process for the user guide. The guide's name bears
// the user's id, so no installed file can hold it: it is written where the bus looks for files of
// one session, and goes with the session. Main thread.

#include <QDBusConnection>
#include <QString>

/// True where the bus can start a program for @p name by a file that is not ours.
bool anotherGuideCanBeStarted(const QDBusConnection &session, const QString &name);

/// Writes the file for @p name with @p program to start. False where the session has no folder for
/// it or that cannot be written to.
bool writeGuideActivation(const QDBusConnection &session, const QString &name,
                          const QString &program);
