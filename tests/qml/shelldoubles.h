#pragma once
// Doubles of the shell's two context objects. Owner: the fixture. Thread: main.

#include "qml/callrecord.h"

#include <QObject>

class TitleBarDouble : public QObject
{
    Q_OBJECT

public:
    explicit TitleBarDouble(CallRecord *record) : m_record(record) {}

    bool visible = true;
    bool minimizeOnClose = true;

    Q_INVOKABLE void minimizeTheWindow() { m_record->add(QStringLiteral("minimizeTheWindow")); }
    Q_INVOKABLE void hideTheWindow() { m_record->add(QStringLiteral("hideTheWindow")); }
    Q_INVOKABLE void closeTheWindow() { m_record->add(QStringLiteral("closeTheWindow")); }
    Q_INVOKABLE bool windowVisible() { return visible; }
    Q_INVOKABLE bool isCloseWindowMinimize() { return minimizeOnClose; }
    Q_INVOKABLE void setCloseWindowOption(bool minimize)
    {
        m_record->add(QStringLiteral("setCloseWindowOption"), {minimize});
    }

Q_SIGNALS:
    void closeWindowOptionChanged(QString option);

private:
    CallRecord *m_record;
};

class TrayIconDouble : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void startMemory();
    void quitMemory();
    void openSettings();
};
