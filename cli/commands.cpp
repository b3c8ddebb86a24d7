#include "cli/commands.h"

#include "cli/appscommand.h"
#include "cli/console.h"
#include "cli/dayscommand.h"
#include "cli/exitstatus.h"
#include "cli/exportcommand.h"
#include "cli/searchcommand.h"
#include "cli/showcommand.h"
#include "cli/statuscommand.h"
#include "cli/verifycommand.h"

#include <algorithm>
#include <iterator>

namespace
{
struct Command {
    const char *name;
    const char *summary;
    int (*run)(const QStringList &arguments, Console &console);
};

constexpr Command COMMANDS[] = {
    {"status", "whether frames are being stored, and if not, why", statusCommand},
    {"search", "find frames by their text or by their meaning", searchCommand},
    {"show", "write one frame as a PNG file", showCommand},
    {"apps", "list the applications that were seen", appsCommand},
    {"days", "list the days that have frames", daysCommand},
    {"export", "write a span of time into a directory", exportCommand},
    {"verify", "compare files, rows and vectors", verifyCommand},
};

QString help()
{
    QString text = QStringLiteral(
        "Usage: yestermarkctl [--json] COMMAND [options]\n"
        "Looks at the screen history of Yestermark; nothing of it is changed.\n\nCommands:\n");
    for (const Command &command : COMMANDS) {
        text += QStringLiteral("  %1 %2\n")
                    .arg(QLatin1String(command.name), -8)
                    .arg(QLatin1String(command.summary));
    }
    return text + QStringLiteral(
                      "\nOptions:\n"
                      "  --json     write JSON instead of text\n"
                      "  --help     show this help; behind a command, its own\n"
                      "  --version  show the version\n\n"
                      "Exit status: 0 done, 1 nothing found or verify found disagreements,\n"
                      "2 wrong usage, 3 the history cannot be read, 4 the AI runtime is absent,\n"
                      "5 the output cannot be written.");
}

int runNamed(QStringList rest, Console &console)
{
    while (!rest.isEmpty() && rest.constFirst().startsWith(QLatin1Char('-'))) {
        const QString option = rest.takeFirst();
        if (option == QLatin1String("--json")) {
            console.setJson(true);
        } else if (option == QLatin1String("--help") || option == QLatin1String("-h")) {
            console.setJson(false);
            console.line(help());
            return ExitStatus::Done;
        } else if (option == QLatin1String("--version")) {
            console.setJson(false);
            console.line(QStringLiteral("yestermarkctl " YESTERMARK_VERSION));
            return ExitStatus::Done;
        } else {
            console.fault(QStringLiteral("unknown option %1; see --help").arg(option));
            return ExitStatus::Usage;
        }
    }
    const QString name = rest.isEmpty() ? QString() : rest.takeFirst();
    const auto *const command =
        std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                     [&name](const Command &known) { return name == QLatin1String(known.name); });
    if (command == std::end(COMMANDS)) {
        console.fault(name.isEmpty() ? QStringLiteral("a command is missing; see --help")
                                     : QStringLiteral("unknown command %1; see --help").arg(name));
        return ExitStatus::Usage;
    }
    return command->run(rest, console);
}
} // namespace

int Commands::run(const QStringList &arguments)
{
    Console console;
    const int status = runNamed(arguments, console);
    if (!Console::isDelivered()) {
        console.fault(QStringLiteral("the standard output cannot be written"));
        return ExitStatus::CannotWrite;
    }
    return status;
}
