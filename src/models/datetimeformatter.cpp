#include "models/datetimeformatter.h"

#include <QDate>
#include <QDebug>
#include <QGSettings>
#include <QLocale>
#include <QTime>

const char DateTimeFormatter::DATETIME_SCHEMA[] = "org.vesk.control-center.panel.plugins";
const char DateTimeFormatter::HOURSYSTEM_KEY[] = "hoursystem";
const char DateTimeFormatter::HOURSYSTEM_12[] = "12";

namespace
{
QString hourSystemOf(const QGSettings &settings)
{
    return settings.get(QLatin1String(DateTimeFormatter::HOURSYSTEM_KEY)).toString();
}
} // namespace

DateTimeFormatter *DateTimeFormatter::getInstance()
{
    static DateTimeFormatter instance;
    return &instance;
}

DateTimeFormatter::DateTimeFormatter()
{
    initSettings();
}

DateTimeFormatter::~DateTimeFormatter() = default;

void DateTimeFormatter::initSettings()
{
    if (!QGSettings::isSchemaInstalled(DATETIME_SCHEMA)) {
        qWarning() << "Schema" << DATETIME_SCHEMA << "is not installed.";
        return;
    }
    m_settings = new QGSettings(DATETIME_SCHEMA, QByteArray(), this);
    m_hourSystem = hourSystemOf(*m_settings);
    connect(m_settings, &QGSettings::changed, this, &DateTimeFormatter::followSetting);
}

void DateTimeFormatter::followSetting(const QString &key)
{
    const QString value = hourSystemOf(*m_settings);
    if (key == QLatin1String(HOURSYSTEM_KEY) && value != m_hourSystem) {
        m_hourSystem = value;
        Q_EMIT hourSystemChanged();
    }
}

QString DateTimeFormatter::getFormatDateString(const QString &date) const
{
    const QString format = QStringLiteral("yyyy/MM/dd");
    const QDate today = QDate::currentDate();
    if (date == today.toString(format)) {
        return tr("today");
    }
    if (date == today.addDays(-1).toString(format)) {
        return tr("1 day ago");
    }
    if (date == today.addDays(-2).toString(format)) {
        return tr("2 days ago");
    }
    const QDate day = QDate::fromString(date, format);
    return day.isValid() && day.year() == today.year() ? day.toString(QStringLiteral("MM/dd"))
                                                       : date;
}

QString DateTimeFormatter::getFormatTimeString(const QString &time) const
{
    if (!m_settings || hourSystemOf(*m_settings) != QLatin1String(HOURSYSTEM_12)) {
        return time;
    }
    const QTime moment = QTime::fromString(time, QStringLiteral("HH:mm:ss"));
    if (!moment.isValid()) {
        return {};
    }
    // In the C locale the first field is "AM" or "PM", so that it can be told from the digits.
    QString text = QLocale::c().toString(moment, QStringLiteral("AP hh:mm:ss"));
    const QString half = moment.hour() > 11 ? tr("PM") : tr("AM");
    return text.replace(0, 2, half);
}
