#include "fakecommands.h"

#include <QFile>

FakeCommands::FakeCommands() : m_formerPath(qgetenv("PATH"))
{
    qputenv("PATH", QFile::encodeName(m_folder.path()));
}

FakeCommands::~FakeCommands()
{
    qputenv("PATH", m_formerPath);
}

void FakeCommands::add(const QString &name, const QString &output, int status) const
{
    QFile script(m_folder.filePath(name));
    if (!script.open(QIODevice::WriteOnly)) {
        qFatal("cannot write %s", qPrintable(script.fileName()));
    }
    const QString notes = m_folder.filePath(name + ".arguments");
    // Written aside and then renamed, so that a reader never sees half of them.
    script.write(QStringLiteral("#!/bin/sh\nprintf '%s\\037' \"$@\" > '%1.part'\n"
                                "/bin/mv '%1.part' '%1'\nprintf '%2'\nexit %3\n")
                     .arg(notes, output)
                     .arg(status)
                     .toUtf8());
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QStringList FakeCommands::argumentsOf(const QString &name) const
{
    QFile notes(m_folder.filePath(name + ".arguments"));
    if (!notes.open(QIODevice::ReadOnly)) {
        return {};
    }
    QStringList arguments = QString::fromUtf8(notes.readAll()).split(QChar(037));
    arguments.removeLast();
    return arguments;
}
