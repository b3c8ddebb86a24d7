#pragma once
// Which keys the code under test reads from and writes to GSettings, in order. The two functions of
// QGSettings are replaced in the test program and call the library's own. Main thread.

#include <QStringList>

namespace SettingsSpy
{
QStringList reads();
QStringList writes();
void clear();
} // namespace SettingsSpy
