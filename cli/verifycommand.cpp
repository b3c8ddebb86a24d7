#include "cli/verifycommand.h"

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/exitstatus.h"
#include "cli/history.h"
#include "history/historychecker.h"
#include "singleapplication/instanceplace.h"

#include <QDir>
#include <QJsonArray>

#include <algorithm>

namespace
{
using HistoryChecker::Finding;
using HistoryChecker::Report;

/// What a second look finds as well: files, rows and vectors are read one after another, and a
/// recorder goes on meanwhile.
QVector<Finding> lasting(const QVector<Finding> &first, const QVector<Finding> &second)
{
    QVector<Finding> both;
    std::copy_if(
        first.cbegin(), first.cend(), std::back_inserter(both), [&second](const Finding &finding) {
            return std::any_of(second.cbegin(), second.cend(), [&finding](const Finding &other) {
                return other.kind == finding.kind && other.subject == finding.subject;
            });
        });
    return both;
}

Report look(const HistoryChecker::Options &options)
{
    Report report = HistoryChecker::check(QDir::homePath(), options);
    if (options.workInProgress && !report.disagreements.isEmpty()) {
        const Report again = HistoryChecker::check(QDir::homePath(), options);
        report.disagreements = lasting(report.disagreements, again.disagreements);
    }
    return report;
}

QJsonArray toJson(const QVector<Finding> &findings)
{
    QJsonArray array;
    for (const Finding &finding : findings) {
        array.append(QJsonObject{{QStringLiteral("kind"), HistoryChecker::name(finding.kind)},
                                 {QStringLiteral("subject"), finding.subject},
                                 {QStringLiteral("detail"), finding.detail}});
    }
    return array;
}

void tell(const Report &report, bool withIrregularities, Console &console)
{
    for (const Finding &finding : report.disagreements) {
        console.line(HistoryChecker::text(finding));
    }
    if (withIrregularities) {
        for (const Finding &finding : report.irregularities) {
            console.line(QStringLiteral("as it should be: ") + HistoryChecker::text(finding));
        }
    }
    console.line(QStringLiteral("%1 videos, %2 rows, %3 vectors, %4 disagreements")
                     .arg(report.videos)
                     .arg(report.rows)
                     .arg(report.vectors)
                     .arg(report.disagreements.size()));
    console.document({{QStringLiteral("videos"), report.videos},
                      {QStringLiteral("rows"), report.rows},
                      {QStringLiteral("vectors"), report.vectors},
                      {QStringLiteral("disagreements"), toJson(report.disagreements)},
                      {QStringLiteral("irregularities"), toJson(report.irregularities)}});
}

bool isUnreadable(const Report &report)
{
    return report.count(HistoryChecker::Kind::UnreadableDatabase) > 0 ||
           report.count(HistoryChecker::Kind::UnreadableVectors) > 0;
}
} // namespace

int verifyCommand(const QStringList &arguments, Console &console)
{
    Arguments options(QStringLiteral("verify [options]"),
                      QStringLiteral("Compares the files, rows and vectors of the history and "
                                     "tells where they disagree."));
    options.addFlag(QStringLiteral("deep"), QStringLiteral("Also decode every video whole."));
    options.addFlag(QStringLiteral("all"),
                    QStringLiteral("Also tell what is unusual but as it should be."));
    options.addFlag(QStringLiteral("running"),
                    QStringLiteral("What a recorder is still to finish is no disagreement; so it "
                                   "is by itself while the program runs."));
    if (const auto status = options.parse(arguments, 0, console)) {
        return *status;
    }
    const StorePlace place = StorePlace::find();
    if (place.isBoxClosed && !place.exists()) {
        console.fault(QStringLiteral("the encrypted box of the history is not open"));
        return ExitStatus::Unreadable;
    }
    const bool isRunning =
        InstancePlace::listener(QStringLiteral("tavel-ai-yestermark")).has_value();
    const Report report = look({isRunning || options.isSet(QStringLiteral("running")),
                                options.isSet(QStringLiteral("deep"))});
    tell(report, options.isSet(QStringLiteral("all")), console);
    if (isUnreadable(report)) {
        return ExitStatus::Unreadable;
    }
    return report.disagreements.isEmpty() ? ExitStatus::Done : ExitStatus::Nothing;
}
