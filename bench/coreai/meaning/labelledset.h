#pragma once
// The labelled pages and queries of data/ as frames of a screen: what README.md beside them tells.

#include <QString>
#include <QStringList>

#include <vector>

namespace Labelled
{
/// Subjects of one part were used to choose the constants; figures are taken on the other.
enum class Part { Calibration, HeldOut };

struct Line {
    QString text;
    int width = 0;  ///< pixels, by the text's number of narrow and wide characters
    int height = 0; ///< pixels
};

struct Frame {
    QString subject; ///< empty for a frame that no query asks for
    QString language;
    std::vector<Line> lines;
};

enum class Verdict { Hit, Wrong, Tolerated };

struct Query {
    Part part = Part::Calibration;
    QString subject; ///< empty where no frame answers
    QString language;
    QString pages; ///< language of the pages that must be found, or "both"
    QString text;

    /// What it means that @p frame was found; Tolerated is the subject's other page.
    Verdict verdict(const Frame &frame) const;
};

struct Set {
    std::vector<Frame> frames;
    std::vector<Query> queries;
};

/// The set of the files in @p folder; empty where they cannot be read.
Set load(const QString &folder);

/// Frames that nothing asks for: every text file of @p folder is one, a line of it a line.
std::vector<Frame> distractors(const QString &folder);
} // namespace Labelled
