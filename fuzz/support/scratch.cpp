#include "fuzz/support/scratch.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace
{
void showNothing(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    Q_UNUSED(context)
    Q_UNUSED(text)
    if (type == QtFatalMsg) {
        std::abort();
    }
}
} // namespace

namespace Scratch
{
QString path(const QString &name)
{
    static const QTemporaryDir folder;
    return folder.filePath(name);
}

QString write(const QString &name, std::string_view bytes)
{
    QString file = path(name);
    QFile target(file);
    require(target.open(QFile::WriteOnly | QFile::Truncate) &&
                target.write(bytes.data(), static_cast<qint64>(bytes.size())) ==
                    static_cast<qint64>(bytes.size()),
            "room for the input");
    return file;
}

void silence()
{
    static const bool once = [] {
        qInstallMessageHandler(showNothing);
        return true;
    }();
    Q_UNUSED(once)
}

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "harness: not so: %s\n", what);
        std::abort();
    }
}
} // namespace Scratch
