#include "controlcenter/installtext.h"

#include "coreai/engines/modelfiles.h"

#include <QLocale>

QString InstallText::purpose(const ModelPackage &package)
{
    if (package.model == coreai::lineModelFile) {
        return tr("Reading the text on the screen");
    }
    if (package.model == coreai::textMeaningFile) {
        return tr("Searching by the meaning of text");
    }
    if (package.model == coreai::pictureMeaningFile) {
        return tr("Searching by what pictures show");
    }
    if (package.model == coreai::pictureTokenizerFile) {
        return tr("Words for searching pictures");
    }
    return package.model;
}

QString InstallText::step(ModelInstaller::Step step, const QString &purpose)
{
    switch (step) {
    case ModelInstaller::Step::Checking:
        return tr("Checking: %1").arg(purpose);
    case ModelInstaller::Step::Unpacking:
        return tr("Unpacking: %1").arg(purpose);
    case ModelInstaller::Step::Downloading:
        break;
    }
    return tr("Downloading: %1").arg(purpose);
}

QString InstallText::result(const InstallResult &result)
{
    switch (result.kind) {
    case InstallResult::Done:
        return tr("Everything is installed. Yestermark can be started now.");
    case InstallResult::Cancelled:
        return tr("Cancelled. What can be continued is kept for the next attempt.");
    case InstallResult::NoClient:
        return tr("The downloads need Python 3 and its package installer. Please install the "
                  "package python3-pip and try again.");
    case InstallResult::Unreachable:
        return tr("The download broke off: the server cannot be reached. Please check the network "
                  "and try again.");
    case InstallResult::NotThere:
        return tr("The server does not have this file. A newer version of Yestermark may know "
                  "where to find it.");
    case InstallResult::WrongContent:
        return tr("The downloaded file is not the expected one and was discarded. Please try "
                  "again.");
    case InstallResult::NoSpace:
        return tr("There is not enough space on the disk. Please free some and try again.");
    case InstallResult::NotWritable:
        return tr("The folder for the models cannot be written to.");
    case InstallResult::Busy:
        return tr("Another installation is under way.");
    case InstallResult::Failed:
        break;
    }
    return tr("The installation failed.");
}

QString InstallText::size(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}
