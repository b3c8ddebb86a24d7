#include "controlcenter/realcontrolcenter.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace
{
// Two copies of this program, one in each of two prefixes, must not start each other for ever.
constexpr const char *GAVE_WAY = "YESTERMARK_CONTROL_CENTER_GAVE_WAY";
} // namespace

void giveWayToRealControlCenter(char **arguments)
{
    if (qEnvironmentVariableIsSet(GAVE_WAY)) {
        return;
    }
    const QString self = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    const QList<QByteArray> folders = qgetenv("PATH").split(':');
    for (const QByteArray &folder : folders) {
        const QFileInfo other(QFile::decodeName(folder) + QStringLiteral("/vesk-control-center"));
        if (!folder.isEmpty() && other.isFile() && other.isExecutable() &&
            other.canonicalFilePath() != self) {
            qputenv(GAVE_WAY, "1");
            ::execv(QFile::encodeName(other.filePath()).constData(), arguments);
            qunsetenv(GAVE_WAY);
        }
    }
}
