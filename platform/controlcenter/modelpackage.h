#pragma once
// What the installer knows of a model: which package of which registry holds it, and what of that
// package goes into the model folder. Plain values, any thread.

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QVector>

struct ModelPackage {
    QString registry; ///< "pip", or "url" for a file that stands in none
    QString name;
    QString version;
    QString file;      ///< of the download, as the registry names it
    qint64 size = -1;  ///< of the download in bytes; -1 where it is not known
    QByteArray sha256; ///< of the download, hexadecimal, lower case
    QString licence;
    bool optional = false;
    QString member;  ///< path inside the archive; empty: the download is the model itself
    QString model;   ///< name in the model folder
    QString address; ///< of registry "url" only
};

/// The packages that @p text lists, in order. Nothing, and a reason in @p problem, if any line is
/// not understood: a list with a mistake installs nothing, not half.
QVector<ModelPackage> parseModelList(const QString &text, QString *problem);

/// The list that was installed or built with this program; empty with a reason in @p problem.
QVector<ModelPackage> installedModelList(QString *problem);

/// Those whose model is in none of the folders where the programs look for it.
QVector<ModelPackage> missingModels(const QVector<ModelPackage> &packages);

/// Folder in the user's data for models; the programs look there. It need not exist.
QString userModelFolder();

Q_DECLARE_METATYPE(ModelPackage)
