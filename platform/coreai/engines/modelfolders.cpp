#include "coreai/engines/modelfolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace coreai
{
ModelFolders::ModelFolders(const QStringList &folders)
    : ModelFolders(folders, QStringLiteral(YESTERMARK_TESSDATA))
{
}

ModelFolders::ModelFolders(const QStringList &folders, const QString &tesseract)
    : m_folders(folders), m_tesseract(tesseract)
{
}

ModelFolders ModelFolders::standard()
{
    // Programs stand in bin/, helpers in libexec/<id>/; models in share/ beside either.
    const QDir program(QCoreApplication::applicationDirPath());
    QStringList folders;
    for (const char *root : {"..", "../.."}) {
        folders << QDir::cleanPath(
            program.absoluteFilePath(QLatin1String(root) + QLatin1String("/" YESTERMARK_MODELDIR)));
    }
    const QString shared = QStringLiteral(YESTERMARK_MODELDIR).section(QLatin1Char('/'), 1);
    for (const QString &data :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        folders << data + QLatin1Char('/') + shared;
    }
    return ModelFolders(folders);
}

QString ModelFolders::find(const QString &fileName) const
{
    for (const QString &folder : m_folders) {
        const QFileInfo file(QDir(folder), fileName);
        if (file.isFile() && file.isReadable()) {
            return file.absoluteFilePath();
        }
    }
    return {};
}
} // namespace coreai
