#include "desktopentries.h"

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QImage>

namespace
{
void write(const QString &path, const QString &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0) {
        qFatal("cannot write %s", qPrintable(path));
    }
}
} // namespace

DesktopEntries::DesktopEntries()
{
    QDir().mkpath(m_folder.filePath("theme-of-test/16x16/apps"));
    write(m_folder.filePath("theme-of-test/index.theme"),
          "[Icon Theme]\nName=theme-of-test\nDirectories=16x16/apps\n"
          "[16x16/apps]\nSize=16\nType=Fixed\n");
    QImage icon(16, 16, QImage::Format_RGB32);
    icon.fill(Qt::red);
    icon.save(iconFile());
    icon.save(m_folder.filePath("theme-of-test/16x16/apps/tavel-startmenu.png"));
    QIcon::setThemeSearchPaths({m_folder.path()});
    QIcon::setThemeName("theme-of-test");
}

QString DesktopEntries::add(const QString &name, const QString &lines) const
{
    QString path = m_folder.filePath(name);
    write(path, "[Desktop Entry]\n" + lines);
    return path;
}

QString DesktopEntries::iconFile() const
{
    return m_folder.filePath("theme-of-test/16x16/apps/kept-icon.png");
}
