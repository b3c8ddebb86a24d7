#pragma once
// What the installer says to its user. Main thread, for translations.

#include "controlcenter/modelinstaller.h"

#include <QCoreApplication>

class InstallText
{
    Q_DECLARE_TR_FUNCTIONS(InstallText)

public:
    /// What a model is for, such as "Reading text on the screen"; the file's name for an unknown
    /// one.
    static QString purpose(const ModelPackage &package);

    static QString step(ModelInstaller::Step step, const QString &purpose);

    /// What went wrong and what can be done about it; the detail is not part of it.
    static QString result(const InstallResult &result);

    /// Such as "91.2 MB", in the user's locale.
    static QString size(qint64 bytes);
};
