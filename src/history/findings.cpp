#include "history/findings.h"

#include <algorithm>
#include <iterator>

namespace HistoryChecker
{
namespace
{
struct KindName {
    Kind kind;
    const char *text;
};

constexpr KindName names[] = {
    {Kind::RowWithoutFrame, "row without frame"},
    {Kind::UndecodableFrame, "frame that does not decode"},
    {Kind::VideoWithoutFrames, "video without frames"},
    {Kind::ImpossibleRow, "impossible row"},
    {Kind::DoubledRow, "doubled row"},
    {Kind::RowInWrongMonth, "row in wrong month"},
    {Kind::RowOfAnotherDay, "row of another day"},
    {Kind::MisnumberedVideo, "misnumbered video"},
    {Kind::BackwardsVideo, "video that runs backwards"},
    {Kind::MisnumberedDay, "misnumbered day"},
    {Kind::ImageBesideVideo, "image beside its video"},
    {Kind::MisplacedFile, "misplaced file"},
    {Kind::UnknownFile, "unknown file"},
    {Kind::OpenToOthers, "open to others"},
    {Kind::VectorWithoutRow, "vector without row"},
    {Kind::DoubledVector, "doubled vector"},
    {Kind::VectorOfAnotherTime, "vector of another time"},
    {Kind::UnreadableDatabase, "unreadable database"},
    {Kind::UnreadableVectors, "unreadable vectors"},
    {Kind::FrameWithoutRow, "frame without row"},
    {Kind::RowWithoutVector, "row without vector"},
    {Kind::RowWithoutVideo, "row without video"},
    {Kind::TruncationLeftOver, "left over from a truncation"},
    {Kind::ImagesWithoutVideo, "images without video"},
    {Kind::Renumbered, "renumbered day"},
    {Kind::VectorOfMissingMonth, "vector of a missing month"},
    {Kind::VectorOfTheFuture, "vector of the future"},
    {Kind::UnfinishedWork, "unfinished work"},
};
static_assert(std::size(names) == static_cast<std::size_t>(Kind::UnfinishedWork) + 1);
} // namespace

QString name(Kind kind)
{
    const auto *found = std::find_if(std::cbegin(names), std::cend(names),
                                     [kind](const KindName &name) { return name.kind == kind; });
    return found == std::cend(names) ? QString() : QString::fromLatin1(found->text);
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
