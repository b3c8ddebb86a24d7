#pragma once
// Hours of the clock as a locale writes them. Any thread.

#include <QString>

/// The locale that the environment gives for times: LC_ALL, else LC_TIME, else LANG, else "C".
QString timeLocaleOfEnvironment();

/// True if times of @p locale, such as "en_US.UTF-8", bear AM or PM: by the system's own
/// description, or by Qt's where the locale is not generated on this machine.
bool localeHasTwelveHours(const QString &locale);
