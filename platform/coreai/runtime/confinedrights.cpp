#include "coreai/runtime/confinedrights.h"

#include <QCoreApplication>
#include <QDir>

namespace coreai
{
namespace
{
// Of the fallback engine: the distribution's folder, whatever the version.
constexpr const char *tesseractModels = "/usr/share/tesseract-ocr";
constexpr const char *devices = "/sys/devices"; // where links below /sys/class lead

void addFolder(std::vector<std::string> &readable, const QString &folder)
{
    readable.push_back(folder.toStdString());
    // Models may be links, as those that a user has put there.
    for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files)) {
        if (file.isSymLink()) {
            readable.push_back(file.canonicalFilePath().toStdString());
        }
    }
}
} // namespace

confinement::Rights rightsOfEngines(const ModelFolders &models)
{
    confinement::Rights rights;
    for (const QString &folder : models.folders()) {
        addFolder(rights.readable, folder);
    }
    const QDir program(QCoreApplication::applicationDirPath());
    addFolder(rights.readable,
              program.absoluteFilePath(QStringLiteral("../../" YESTERMARK_LIBRARYDIR)));
    rights.readable.emplace_back(tesseractModels);
    return rights;
}

confinement::Rights rightsOfRuntime(const ModelFolders &models,
                                    const std::vector<std::string> &engines, const QString &power)
{
    confinement::Rights rights = rightsOfEngines(models);
    rights.readable.push_back(power.toStdString());
    rights.readable.emplace_back(devices);
    if (!engines.empty()) {
        rights.programs.push_back(engines.front());
    }
    return rights;
}
} // namespace coreai
