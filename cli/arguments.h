#pragma once
// The command line of one command: its options, its words and its help. Owner: the command, on its
// stack. Main thread.

#include <QCommandLineParser>
#include <QStringList>

#include <optional>

class Console;

class Arguments
{
public:
    /// @p usage follows the program's name in the help, such as "search [options] TEXT".
    Arguments(const QString &usage, const QString &summary);

    void addFlag(const QString &name, const QString &help);
    void addValue(const QStringList &names, const QString &help, const QString &valueName);

    /// Bounds in time, "--from" and "--to".
    void addSpan();

    /// Takes what stands behind the command's name. Nothing if all is well and the command is to
    /// go on; else the exit status, with the help or the fault written. The words beside the
    /// options must be @p words in number.
    std::optional<int> parse(const QStringList &arguments, int words, Console &console);

    bool isSet(const QString &name) const { return m_parser.isSet(name); }
    QString value(const QString &name) const { return m_parser.value(name); }
    QStringList words() const { return m_parser.positionalArguments(); }

    /// In seconds since the epoch, included; nothing where none was given.
    std::optional<qint64> from() const { return m_from; }
    std::optional<qint64> to() const { return m_to; }

private:
    bool parseSpan(Console &console);
    QString help() const;

    QString m_usage;
    QCommandLineParser m_parser;
    bool m_hasSpan = false;
    std::optional<qint64> m_from;
    std::optional<qint64> m_to;
};
