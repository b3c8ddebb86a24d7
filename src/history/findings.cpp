#include "history/findings.h"

#include <algorithm>

namespace HistoryChecker
{
QString name(Kind kind)
{
    switch (kind) {
    case Kind::RowWithoutFrame:
        return QStringLiteral("row without frame");
    case Kind::UndecodableFrame:
        return QStringLiteral("frame that does not decode");
    case Kind::VideoWithoutFrames:
        return QStringLiteral("video without frames");
    case Kind::ImpossibleRow:
        return QStringLiteral("impossible row");
    case Kind::DoubledRow:
        return QStringLiteral("doubled row");
    case Kind::RowInWrongMonth:
        return QStringLiteral("row in wrong month");
    case Kind::RowOfAnotherDay:
        return QStringLiteral("row of another day");
    case Kind::MisnumberedVideo:
        return QStringLiteral("misnumbered video");
    case Kind::BackwardsVideo:
        return QStringLiteral("video that runs backwards");
    case Kind::MisnumberedDay:
        return QStringLiteral("misnumbered day");
    case Kind::ImageBesideVideo:
        return QStringLiteral("image beside its video");
    case Kind::MisplacedFile:
        return QStringLiteral("misplaced file");
    case Kind::UnknownFile:
        return QStringLiteral("unknown file");
    case Kind::OpenToOthers:
        return QStringLiteral("open to others");
    case Kind::VectorWithoutRow:
        return QStringLiteral("vector without row");
    case Kind::DoubledVector:
        return QStringLiteral("doubled vector");
    case Kind::VectorOfAnotherTime:
        return QStringLiteral("vector of another time");
    case Kind::UnreadableDatabase:
        return QStringLiteral("unreadable database");
    case Kind::UnreadableVectors:
        return QStringLiteral("unreadable vectors");
    case Kind::FrameWithoutRow:
        return QStringLiteral("frame without row");
    case Kind::RowWithoutVector:
        return QStringLiteral("row without vector");
    case Kind::RowWithoutVideo:
        return QStringLiteral("row without video");
    case Kind::TruncationLeftOver:
        return QStringLiteral("left over from a truncation");
    case Kind::ImagesWithoutVideo:
        return QStringLiteral("images without video");
    case Kind::Renumbered:
        return QStringLiteral("renumbered day");
    case Kind::VectorOfMissingMonth:
        return QStringLiteral("vector of a missing month");
    case Kind::VectorOfTheFuture:
        return QStringLiteral("vector of the future");
    case Kind::UnfinishedWork:
        return QStringLiteral("unfinished work");
    }
    return {};
}

bool isDisagreement(Kind kind)
{
    return kind < Kind::FrameWithoutRow;
}

QString text(const Finding &finding)
{
    const QString line = name(finding.kind) + QLatin1String(": ") + finding.subject;
    return finding.detail.isEmpty() ? line : line + QLatin1String(", ") + finding.detail;
}

void Report::add(const Finding &finding)
{
    (isDisagreement(finding.kind) ? disagreements : irregularities).append(finding);
}

int Report::count(Kind kind) const
{
    const QVector<Finding> &findings = isDisagreement(kind) ? disagreements : irregularities;
    return static_cast<int>(
        std::count_if(findings.cbegin(), findings.cend(),
                      [kind](const Finding &finding) { return finding.kind == kind; }));
}

QVector<Finding> Report::otherThan(Kind kind) const
{
    QVector<Finding> others;
    std::copy_if(disagreements.cbegin(), disagreements.cend(), std::back_inserter(others),
                 [kind](const Finding &finding) { return finding.kind != kind; });
    return others;
}
} // namespace HistoryChecker
