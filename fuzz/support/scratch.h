#pragma once
// The surroundings of a harness: a folder of its own that goes with the process, and a log that
// formats each line as the program's does but shows none. Thread: main.

#include <QString>

#include <string_view>

namespace Scratch
{
/// The path of @p name in this process's folder.
QString path(const QString &name);

/// Makes the file @p name hold exactly @p bytes, and gives its path.
QString write(const QString &name, std::string_view bytes);

/// From now on nothing is shown on the log.
void silence();

/// Ends the process, with the place on the error output, where @p holds is false: what the code
/// under test gave is wrong.
void require(bool holds, const char *what);
} // namespace Scratch
