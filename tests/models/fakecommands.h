#pragma once
// Commands of a test's own in the place of the desktop's, found by PATH for as long as this lives.
// Main thread.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class FakeCommands
{
public:
    FakeCommands();
    ~FakeCommands();
    Q_DISABLE_COPY_MOVE(FakeCommands)

    /// A command @p name that notes its arguments, prints @p output as printf's format has it, and
    /// ends with @p status.
    void add(const QString &name, const QString &output = QString(), int status = 0) const;

    /// The arguments that @p name got at its last call, "" if it was never called.
    QStringList argumentsOf(const QString &name) const;

private:
    QTemporaryDir m_folder;
    QByteArray m_formerPath;
};
