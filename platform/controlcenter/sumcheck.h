#pragma once
// SHA-256 of a file, computed in slices between other events, so that a window stays alive. Owned
// by ModelInstaller; main thread.

#include <QCryptographicHash>
#include <QFile>
#include <QObject>
#include <QTimer>

class SumCheck : public QObject
{
    Q_OBJECT

public:
    SumCheck();

    /// One at a time; done() follows, never from within this call.
    void start(const QString &file);

    /// No done() comes any more.
    void cancel();

Q_SIGNALS:
    /// Hexadecimal, lower case; empty if the file cannot be read.
    void done(const QByteArray &sum);

private:
    void step();

    QFile m_file;
    QCryptographicHash m_hash{QCryptographicHash::Sha256};
    QTimer m_step;
};
