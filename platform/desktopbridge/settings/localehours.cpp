#include "desktopbridge/settings/localehours.h"

#include <QLocale>

#include <langinfo.h>

#include <locale>
#include <memory>
#include <optional>

namespace
{
struct LocaleDeleter {
    void operator()(locale_t locale) const { freelocale(locale); }
};
using LocalePtr = std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleDeleter>;

// What `date` and most desktops' clocks follow. Nothing if the locale was not generated here.
std::optional<bool> systemHasTwelveHours(const QString &locale)
{
    const LocalePtr loaded(newlocale(LC_TIME_MASK, locale.toLocal8Bit().constData(), nullptr));
    if (!loaded) {
        return std::nullopt;
    }
    const QByteArray format(nl_langinfo_l(T_FMT, loaded.get()));
    return format.contains("%r") || format.contains("%I") || format.contains("%l");
}

bool tablesHaveTwelveHours(const QString &name)
{
    const QLocale locale(name);
    // The tables of Qt 5.15 are older than the day's 24 hours in China.
    if (locale.language() == QLocale::Chinese && locale.country() == QLocale::China) {
        return false;
    }
    return locale.timeFormat(QLocale::ShortFormat)
        .contains(QLatin1String("AP"), Qt::CaseInsensitive);
}
} // namespace

QString timeLocaleOfEnvironment()
{
    for (const char *variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        QString locale = qEnvironmentVariable(variable);
        if (!locale.isEmpty()) {
            return locale;
        }
    }
    return QStringLiteral("C");
}

bool localeHasTwelveHours(const QString &locale)
{
    const std::optional<bool> told = systemHasTwelveHours(locale);
    const QString name = locale.section(QLatin1Char('.'), 0, 0).section(QLatin1Char('@'), 0, 0);
    return told ? *told : tablesHaveTwelveHours(name);
}
