#pragma once
// Windows that come, are renamed and go on a test's command. Owned by the tdk::WindowManager that
// it was given to; the test keeps a pointer. Main thread.

#include "windowmanager/windowbackend.h"

#include <QMap>
#include <QStringList>

class FakeWindowBackend : public WindowBackend
{
    Q_OBJECT

public:
    /// Becomes the backend of tdk::WindowManager::self(). To be called before the first self() of
    /// the test program, and once; lives as long as the process.
    static FakeWindowBackend *install();

    /// A window comes and is told at once; its id.
    QVariant addWindow(const QString &title, int processId);

    /// The window goes: from now on its id is unknown.
    void removeWindow(const QVariant &id);

    void rename(const QVariant &id, const QString &title);

    /// What was asked of known windows so far, in order: "activate <title>", "minimize <title>".
    QStringList requests() const { return m_requests; }

    /// No windows, no requests.
    void clear();

    QString name() const override { return QStringLiteral("fake"); }
    QString title(const QVariant &id) const override;
    int processId(const QVariant &id) const override;
    void activate(const QVariant &id) override;
    void minimize(const QVariant &id) override;

private:
    struct Window {
        QString title;
        int processId = 0;
    };
    void note(const QString &what, const QVariant &id);

    QMap<int, Window> m_windows;
    int m_lastId = 0;
    QStringList m_requests;
};
