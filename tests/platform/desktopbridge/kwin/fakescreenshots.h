#pragma once
// An org.kde.KWin.ScreenShot2 that misbehaves as the test orders. It lives on a bus connection and
// a thread of its own, for who asks it waits for the answer. Test thread only.

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QThread>
#include <QVariantMap>

/// What it does with the next calls.
struct FakeBehaviour {
    QVariantMap results;    ///< the answer
    QByteArray bytes;       ///< written to the pipe after the answer
    bool holdsPipe = false; ///< keeps the pipe open afterwards
    bool isSilent = false;  ///< neither answers nor writes
    QString errorName;      ///< answers with this error instead
};

class FakeScreenshots : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.KWin.ScreenShot2")

public:
    explicit FakeScreenshots(const FakeBehaviour &behaviour);
    ~FakeScreenshots() override;

    /// The options of the last call; after it was answered.
    QVariantMap m_options;
    QString m_screen;

public Q_SLOTS:
    QVariantMap CaptureScreen(const QString &name, const QVariantMap &options,
                              const QDBusUnixFileDescriptor &pipe);
    QVariantMap CaptureArea(int x, int y, uint width, uint height, const QVariantMap &options,
                            const QDBusUnixFileDescriptor &pipe);

private:
    QDBusConnection m_bus;
    FakeBehaviour m_behaviour;
    QDBusUnixFileDescriptor m_held;
    QThread m_thread;
};
