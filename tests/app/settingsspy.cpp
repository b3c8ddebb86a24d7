#include "settingsspy.h"

#include <QGSettings>
#include <QVariant>
#include <dlfcn.h>

namespace
{
QStringList readKeys;
QStringList writtenKeys;

// The library's function behind the one of this program, by its name in the binary.
template <typename Function>
Function libraryFunction(const char *symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}
} // namespace

QVariant QGSettings::get(const QString &key) const
{
    using Get = QVariant (*)(const QGSettings *, const QString &);
    static const auto original = libraryFunction<Get>("_ZNK10QGSettings3getERK7QString");
    readKeys.append(key);
    return original(this, key);
}

void QGSettings::set(const QString &key, const QVariant &value)
{
    using Set = void (*)(QGSettings *, const QString &, const QVariant &);
    static const auto original = libraryFunction<Set>("_ZN10QGSettings3setERK7QStringRK8QVariant");
    writtenKeys.append(key);
    original(this, key, value);
}

QStringList SettingsSpy::reads()
{
    return readKeys;
}

QStringList SettingsSpy::writes()
{
    return writtenKeys;
}

void SettingsSpy::clear()
{
    readKeys.clear();
    writtenKeys.clear();
}
