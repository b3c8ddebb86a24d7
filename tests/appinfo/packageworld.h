#pragma once
// Programs, desktop files, package lists and processes of a test's own, in a temporary directory
// that is also the only entry of PATH. Its paths are new in every test, so that nothing that the
// process has kept from an earlier one fits. Owner: a test. Thread: the test's.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

class PackageWorld
{
public:
    PackageWorld() : m_formerPath(qgetenv("PATH"))
    {
        qputenv("PATH", QFile::encodeName(m_directory.filePath(QStringLiteral("bin"))));
    }
    ~PackageWorld() { qputenv("PATH", m_formerPath); }
    Q_DISABLE_COPY_MOVE(PackageWorld)

    std::string path(const std::string &relative) const
    {
        return m_directory.path().toStdString() + '/' + relative;
    }
    std::string processDirectory() const { return path("proc"); }
    std::string listDirectory() const { return path("info"); }

    /// Writes a file below the directory and gives its absolute path.
    std::string write(const std::string &relative, const std::string &content) const
    {
        std::string name = path(relative);
        QFile file(QString::fromStdString(name));
        QDir().mkpath(QFileInfo(file).absolutePath());
        if (!file.open(QFile::WriteOnly) ||
            file.write(content.data(), static_cast<qint64>(content.size())) < 0) {
            qFatal("cannot write %s", name.c_str());
        }
        return name;
    }

    /// An executable file; desktop entries whose program does not exist are not read at all.
    std::string program(const std::string &relative) const
    {
        std::string name = write(relative, "#!/bin/sh\n");
        QFile::setPermissions(QString::fromStdString(name),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return name;
    }

    /// A desktop entry; @p more holds further lines, each with its newline.
    std::string entry(const std::string &relative, const std::string &exec,
                      const std::string &more = {}) const
    {
        return write(relative, "[Desktop Entry]\nType=Application\nName=Test\n" +
                                   (exec.empty() ? std::string() : "Exec=" + exec + '\n') + more);
    }

    /// The list of a package.
    void package(const std::string &name, const std::vector<std::string> &lines) const
    {
        std::string content;
        for (const std::string &line : lines) {
            content += line + '\n';
        }
        write("info/" + name + ".list", content);
    }

    void removePackage(const std::string &name) const
    {
        QFile::remove(QString::fromStdString(path("info/" + name + ".list")));
    }

    /// A symbolic link at @p relative with this very text.
    std::string link(const std::string &relative, const std::string &target) const
    {
        std::string name = path(relative);
        QDir().mkpath(QFileInfo(QString::fromStdString(name)).absolutePath());
        std::error_code error;
        std::filesystem::create_symlink(target, name, error);
        return name;
    }

private:
    QTemporaryDir m_directory;
    QByteArray m_formerPath;
};
