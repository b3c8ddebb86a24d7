// Where the files of the models are looked for: beside this program's own installation or build,
// in the user's data folder, in the system's data folders, in this order.
// Thread: any.

#pragma once

#include <QString>
#include <QStringList>

namespace coreai
{
class ModelFolders
{
public:
    // The folders of this machine for the running executable.
    static ModelFolders standard();

    // `tesseract` holds what the fallback engine reads with; the distribution's folder unless told.
    explicit ModelFolders(const QStringList &folders);
    ModelFolders(const QStringList &folders, const QString &tesseract);

    // Absolute path of the first readable file of this name; empty where no folder has it.
    QString find(const QString &fileName) const;

    const QStringList &folders() const { return m_folders; }
    const QString &tesseract() const { return m_tesseract; }

private:
    QStringList m_folders;
    QString m_tesseract;
};
} // namespace coreai
