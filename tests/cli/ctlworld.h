#pragma once
// A home directory with whatever history a test puts there, and yestermarkctl run in it. Owner: a
// test. Main thread.

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

struct CtlRun {
    int status = -1; ///< -1: it did not end by itself
    QByteArray out;
    QByteArray faults;

    QStringList lines() const;
    QJsonObject object() const;
    QJsonArray list() const;
};

class CtlWorld
{
public:
    explicit CtlWorld(QString home);

    /// The path of yestermarkctl.
    static QString program();

    /// Runs the command and waits for its end. Its standard output leads into @p file if one is
    /// named.
    CtlRun run(const QStringList &arguments, const QString &file = {}) const;

    /// What is set for the runs, beside the test's own environment.
    void set(const QString &name, const QString &value) { m_environment.insert(name, value); }

    /// Every file and directory below the home: name, size, mode and time of the last change, one a
    /// line.
    QByteArray listing() const;

    QString home() const { return m_home; }
    QString root() const { return m_home + QStringLiteral("/.cache/tavel-ai-yestermark"); }

private:
    QString m_home;
    QProcessEnvironment m_environment;
};
