#pragma once
// Logging of one process. Sends everything that passes Qt's message functions (qDebug, qWarning,
// ...) to standard error, or to the journal behind it, and to a rotating file. Owned by the
// process, never taken down, so that messages of static destruction still arrive. Any thread.

#include <QString>

/// Sets up logging under @p applicationId, which names the file
/// `<cache>/<applicationId>/log/<applicationId>.log` (at most three files of 5 MB, mode 0600, in a
/// directory of mode 0700). Wants no application object and is meant to be `main`'s first call.
///
/// The text of a message stays as it is, in UTF-8; time, level and thread stand before it. Each
/// message has left the process when the message function returns, so a killed process loses none
/// (a power cut may: nothing is forced to the disk). A message from a signal handler that
/// interrupted another message of the same thread goes, as bare text, to standard error only.
///
/// Never fails: with a file that can't be written one line on standard error says so and logging
/// there goes on. Only the first call has an effect; the others are ignored. Throws nothing.
void initVeskLog4qt(const QString &applicationId);
