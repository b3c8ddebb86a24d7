#include "cli/arguments.h"

#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/timetext.h"

namespace
{
const QString JSON = QStringLiteral("json");
const QString HELP = QStringLiteral("help");
const QString FROM = QStringLiteral("from");
const QString TO = QStringLiteral("to");
} // namespace

Arguments::Arguments(const QString &usage, const QString &summary) : m_usage(usage)
{
    m_parser.setApplicationDescription(summary);
    m_parser.addOption({JSON, QStringLiteral("Write JSON instead of text.")});
    m_parser.addOption({{QStringLiteral("h"), HELP}, QStringLiteral("Show this help.")});
}

void Arguments::addFlag(const QString &name, const QString &help)
{
    m_parser.addOption({name, help});
}

void Arguments::addValue(const QStringList &names, const QString &help, const QString &valueName)
{
    m_parser.addOption({names, help, valueName});
}

void Arguments::addSpan()
{
    m_hasSpan = true;
    addValue({FROM}, QStringLiteral("Only what was seen then or later."), QStringLiteral("TIME"));
    addValue({TO},
             QStringLiteral("Only what was seen until then, included. TIME is yyyy-MM-dd or "
                            "yyyy-MM-ddThh:mm[:ss], local time."),
             QStringLiteral("TIME"));
}

std::optional<int> Arguments::parse(const QStringList &arguments, int words, Console &console)
{
    if (!m_parser.parse(QStringList(QString()) + arguments)) {
        console.fault(m_parser.errorText());
        return ExitStatus::Usage;
    }
    if (m_parser.isSet(HELP)) {
        console.line(help());
        return ExitStatus::Done;
    }
    console.setJson(console.isJson() || m_parser.isSet(JSON));
    if (m_parser.positionalArguments().size() != words) {
        console.fault(QStringLiteral("usage: yestermarkctl ") + m_usage);
        return ExitStatus::Usage;
    }
    if (m_hasSpan && !parseSpan(console)) {
        return ExitStatus::Usage;
    }
    return {};
}

bool Arguments::parseSpan(Console &console)
{
    for (const QString &name : {FROM, TO}) {
        if (!m_parser.isSet(name)) {
            continue;
        }
        std::optional<qint64> &bound = name == FROM ? m_from : m_to;
        const QString text = m_parser.value(name);
        bound = name == FROM ? TimeText::first(text) : TimeText::last(text);
        if (!bound) {
            console.fault(QStringLiteral("--%1: no such time: %2").arg(name, text));
            return false;
        }
    }
    if (m_from && m_to && *m_to < *m_from) {
        console.fault(QStringLiteral("--to lies before --from"));
        return false;
    }
    return true;
}

QString Arguments::help() const
{
    // The parser's own first line would name no command.
    const QString text = m_parser.helpText();
    return QStringLiteral("Usage: yestermarkctl ") + m_usage +
           text.mid(text.indexOf(QLatin1Char('\n'))).trimmed().prepend(QLatin1Char('\n'));
}
