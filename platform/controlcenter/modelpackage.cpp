#include "controlcenter/modelpackage.h"

#include "coreai/engines/modelfolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>

namespace
{
constexpr int FIELDS = 11;

// Names from the list become parts of paths.
bool isFileName(const QString &name)
{
    return !name.isEmpty() && !name.startsWith(QLatin1Char('.')) &&
           !name.contains(QLatin1Char('/'));
}

bool isSum(const QString &text)
{
    static const QRegularExpression sum(QStringLiteral("\\A[0-9a-f]{64}\\z"));
    return sum.match(text).hasMatch();
}

// REGISTRY NAME VERSION FILE SIZE SHA-256 LICENCE needed|optional MEMBER MODEL ADDRESS; "-" for
// none
bool parseLine(const QStringList &fields, ModelPackage *package)
{
    if (fields.size() != FIELDS) {
        return false;
    }
    const auto text = [&](int index) {
        return fields.at(index) == QLatin1String("-") ? QString() : fields.at(index);
    };
    bool sizeIsNumber = true;
    package->registry = fields.at(0);
    package->name = fields.at(1);
    package->version = fields.at(2);
    package->file = fields.at(3);
    package->size = text(4).isEmpty() ? -1 : text(4).toLongLong(&sizeIsNumber);
    package->sha256 = fields.at(5).toLatin1();
    package->licence = fields.at(6);
    package->optional = fields.at(7) == QLatin1String("optional");
    package->member = text(8);
    package->model = fields.at(9);
    package->address = text(10);
    return sizeIsNumber && isFileName(package->file) && isFileName(package->model) &&
           isSum(fields.at(5)) && (package->optional || fields.at(7) == QLatin1String("needed")) &&
           (package->registry != QLatin1String("url") || !package->address.isEmpty());
}
} // namespace

QVector<ModelPackage> parseModelList(const QString &text, QString *problem)
{
    QVector<ModelPackage> packages;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int number = 0; number < lines.size(); ++number) {
        const QString line = lines.at(number).simplified();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) {
            continue;
        }
        ModelPackage package;
        if (!parseLine(line.split(QLatin1Char(' ')), &package)) {
            *problem = QStringLiteral("line %1 is not understood").arg(number + 1);
            return {};
        }
        packages.append(package);
    }
    if (packages.isEmpty()) {
        *problem = QStringLiteral("the list is empty");
    }
    return packages;
}

QVector<ModelPackage> installedModelList(QString *problem)
{
    QFile file(QDir(QCoreApplication::applicationDirPath())
                   .absoluteFilePath(QStringLiteral("../../" YESTERMARK_MODELLIST)));
    if (!file.open(QFile::ReadOnly)) {
        *problem = file.fileName() + QStringLiteral(": ") + file.errorString();
        return {};
    }
    const QVector<ModelPackage> packages =
        parseModelList(QString::fromUtf8(file.readAll()), problem);
    if (packages.isEmpty()) {
        problem->prepend(file.fileName() + QStringLiteral(": "));
    }
    return packages;
}

QVector<ModelPackage> missingModels(const QVector<ModelPackage> &packages)
{
    const coreai::ModelFolders folders = coreai::ModelFolders::standard();
    QVector<ModelPackage> missing;
    std::copy_if(
        packages.begin(), packages.end(), std::back_inserter(missing),
        [&](const ModelPackage &package) { return folders.find(package.model).isEmpty(); });
    return missing;
}

QString userModelFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QLatin1Char('/') + QStringLiteral(YESTERMARK_MODELDIR).section(QLatin1Char('/'), 1);
}
