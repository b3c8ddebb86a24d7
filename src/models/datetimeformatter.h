#pragma once
// Turns stored dates and times into what the user reads, in the desktop's choice of 12 or 24 hours.
// Owner: the process, from first use to exit. Thread: main.

#include <QObject>
#include <QString>

class QGSettings;

class DateTimeFormatter : public QObject
{
    Q_OBJECT

public:
    static const char DATETIME_SCHEMA[];
    static const char HOURSYSTEM_KEY[];
    static const char HOURSYSTEM_12[];

    static DateTimeFormatter *getInstance();
    Q_DISABLE_COPY_MOVE(DateTimeFormatter)

    /// A day, "yyyy/MM/dd", relative to today for the last three, "MM/dd" in the present year. The
    /// text itself in other years and where it is no day.
    QString getFormatDateString(const QString &date) const;

    /// A time, "HH:mm:ss", as "AM hh:mm:ss" on a desktop with 12 hours, empty there if it is no
    /// time. The text itself otherwise and on a desktop without the setting.
    QString getFormatTimeString(const QString &time) const;

Q_SIGNALS:
    void hourSystemChanged();

private:
    DateTimeFormatter();
    ~DateTimeFormatter() override;

    void initSettings();
    void followSetting(const QString &key);

    QGSettings *m_settings = nullptr; ///< null: the desktop has no such setting
    QString m_hourSystem;
};
