#include "desktopbridge/portal/restoretoken.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <sys/stat.h>

namespace
{
constexpr qint64 LONGEST_TOKEN = 4096; // portals use 36 letters; longer is no token
constexpr mode_t FOLDER_MODE = 0700;
} // namespace

RestoreToken::RestoreToken(QString file) : m_file(std::move(file)) {}

QString RestoreToken::usualFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/tavel-ai-yestermark/screen-permission");
}

QString RestoreToken::load() const
{
    QFile file(m_file);
    if (!file.open(QFile::ReadOnly) || file.size() > LONGEST_TOKEN) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).trimmed();
}

bool RestoreToken::save(const QString &token) const
{
    if (token.isEmpty()) {
        return !QFile::exists(m_file) || QFile::remove(m_file);
    }
    const QString folder = QFileInfo(m_file).path();
    if (!QFileInfo::exists(folder)) {
        // The folders above are the user's, as others make them; only this one is ours to close.
        if (!QDir().mkpath(QFileInfo(folder).path()) ||
            ::mkdir(QFile::encodeName(folder).constData(), FOLDER_MODE) != 0) {
            return false;
        }
    }
    QSaveFile file(m_file);
    return file.open(QFile::WriteOnly) &&
           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
           file.write(token.toUtf8()) >= 0 && file.commit();
}
