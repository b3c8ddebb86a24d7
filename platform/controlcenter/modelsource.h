#pragma once
// Where downloads come from: one implementation for each kind of registry, and one that refuses
// politely. Owned by ModelInstaller; main thread. Nothing blocks; what is received is not trusted:
// its size and sum are the installer's matter.

#include "controlcenter/installresult.h"
#include "controlcenter/modelpackage.h"

#include <QObject>

class ModelSource : public QObject
{
    Q_OBJECT

public:
    /// Brings @p package into @p file, whose folder exists. What stands in the file already is the
    /// beginning of the same download; a source that can continues behind it, another replaces it.
    /// One at a time.
    virtual void fetch(const ModelPackage &package, const QString &file) = 0;

    /// Ends the download; finished() is sent, at once or soon, with "Cancelled". What was received
    /// stays in the file where fetch() could continue it.
    virtual void cancel() = 0;

Q_SIGNALS:
    /// Bytes of the whole download so far, those of an earlier attempt included.
    void received(qint64 bytes);

    /// Once for each fetch(), never from within it.
    void finished(const InstallResult &result);
};
