// historycheck HOME [--running] [--deep] [--all]: what disagrees among the files, rows and vectors
// that the program has stored below HOME, a line each; exit status 1 if there is anything.
//   --running  a recorder runs, or was killed and not started since: its open work is no fault
//   --deep     decode every video
//   --all      also the irregularities that are as they should be

#include "history/historychecker.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption running(QStringLiteral("running"));
    const QCommandLineOption deep(QStringLiteral("deep"));
    const QCommandLineOption all(QStringLiteral("all"));
    parser.addOptions({running, deep, all});
    parser.addPositionalArgument(QStringLiteral("HOME"), QStringLiteral("home directory"));
    parser.process(application);
    QTextStream out(stdout);
    if (parser.positionalArguments().size() != 1) {
        QTextStream(stderr) << parser.helpText();
        return 2;
    }
    const HistoryChecker::Report report = HistoryChecker::check(
        parser.positionalArguments().first(), {parser.isSet(running), parser.isSet(deep)});
    for (const HistoryChecker::Finding &finding : report.disagreements) {
        out << HistoryChecker::text(finding) << '\n';
    }
    if (parser.isSet(all)) {
        for (const HistoryChecker::Finding &finding : report.irregularities) {
            out << "as it should be: " << HistoryChecker::text(finding) << '\n';
        }
    }
    out << report.videos << " videos, " << report.rows << " rows, " << report.vectors
        << " vectors, " << report.disagreements.size() << " disagreements\n";
    return report.disagreements.isEmpty() ? 0 : 1;
}
