#include "labelledset.h"

#include <QDir>
#include <QFile>
#include <QHash>

namespace Labelled
{
namespace
{
// Share of the type size that a character is wide.
constexpr double narrow = 0.52;
constexpr double wide = 1.0;
constexpr ushort firstWide = 0x2E80;

constexpr int distractorSize = 16;

struct Page {
    QStringList head; ///< the words after "=="
    std::vector<Line> lines;
};

Line lineOf(const QString &text, int size)
{
    double width = 0;
    for (const QChar character : text) {
        width += size * (character.unicode() >= firstWide ? wide : narrow);
    }
    return {text, static_cast<int>(width), size};
}

QStringList rowsOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return {};
    }
    QStringList rows;
    const QStringList all = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    for (const QString &row : all) {
        if (!row.startsWith('#')) {
            rows << row;
        }
    }
    return rows;
}

std::vector<Page> pagesOf(const QString &path)
{
    std::vector<Page> pages;
    const QStringList rows = rowsOf(path);
    for (const QString &row : rows) {
        if (row.startsWith(QStringLiteral("== "))) {
            pages.push_back({row.mid(3).split(' '), {}});
        } else if (!pages.empty()) {
            const int size = row.section(' ', 0, 0).toInt();
            pages.back().lines.push_back(lineOf(row.section(' ', 1), size));
        }
    }
    return pages;
}

void append(std::vector<Line> &lines, const std::vector<Line> &more, int begin, int end)
{
    const int last = std::min(end, static_cast<int>(more.size()));
    for (int i = begin; i < last; ++i) {
        lines.push_back(more[static_cast<size_t>(i)]);
    }
}

Part partOf(const QString &name)
{
    return name == QStringLiteral("heldout") ? Part::HeldOut : Part::Calibration;
}

// Three frames a page: as it was opened, scrolled on with a file manager beside it, and in front of
// a terminal full of a folder's listing.
void addPage(const Page &page, const QHash<QString, Page> &furniture, std::vector<Frame> &frames)
{
    constexpr int all = 1000;
    constexpr int beside = 8;
    const QString language = page.head.value(1);
    const std::vector<Line> &around = furniture[page.head.value(3)].lines;
    Frame opened{page.head.value(0), language, around};
    append(opened.lines, page.lines, 0, all);
    frames.push_back(opened);

    Frame scrolled{page.head.value(0), language, {}};
    append(scrolled.lines, around, 3, all);
    append(scrolled.lines, page.lines, 2, all);
    append(scrolled.lines, furniture[QStringLiteral("desktop-") + language].lines, 0, beside);
    frames.push_back(scrolled);

    Frame inFront{page.head.value(0), language, furniture[QStringLiteral("terminal")].lines};
    append(inFront.lines, around, 0, all);
    append(inFront.lines, page.lines, 0, all);
    frames.push_back(inFront);
}

void addFurniture(const QHash<QString, Page> &furniture, std::vector<Frame> &frames)
{
    for (const char *name : {"desktop-", "settings-"}) {
        for (const char *language : {"en", "zh"}) {
            const Page &page = furniture[QString::fromLatin1(name) + language];
            frames.push_back({{}, language, page.lines});
            Frame both{{}, language, page.lines};
            append(both.lines, furniture[QStringLiteral("browser-") + language].lines, 0, 1000);
            frames.push_back(both);
        }
    }
    frames.push_back({{}, QStringLiteral("en"), furniture[QStringLiteral("terminal")].lines});
}
} // namespace

Verdict Query::verdict(const Frame &frame) const
{
    if (subject.isEmpty() || frame.subject != subject) {
        return Verdict::Wrong;
    }
    const bool asked = pages == QStringLiteral("both") || pages == frame.language;
    return asked ? Verdict::Hit : Verdict::Tolerated;
}

Set load(const QString &folder)
{
    QHash<QString, Page> furniture;
    for (const Page &page : pagesOf(folder + QStringLiteral("/furniture.txt"))) {
        furniture.insert(page.head.value(0), page);
    }
    Set set;
    QHash<QString, Part> parts;
    for (const Page &page : pagesOf(folder + QStringLiteral("/pages.txt"))) {
        parts.insert(page.head.value(0), partOf(page.head.value(2)));
        addPage(page, furniture, set.frames);
    }
    addFurniture(furniture, set.frames);
    const QStringList rows = rowsOf(folder + QStringLiteral("/queries.txt"));
    for (const QString &row : rows) {
        Query query;
        const QString subject = row.section(' ', 0, 0);
        const bool unanswered = subject.startsWith('-');
        query.part = unanswered ? partOf(subject.mid(1)) : parts.value(subject);
        query.subject = unanswered ? QString() : subject;
        query.language = row.section(' ', 1, 1);
        query.pages = row.section(' ', 2, 2);
        query.text = row.section(' ', 3);
        set.queries.push_back(query);
    }
    return set;
}

std::vector<Frame> distractors(const QString &folder)
{
    std::vector<Frame> frames;
    const QDir texts(folder, QStringLiteral("*.txt"));
    const QStringList names = texts.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        Frame frame;
        const QStringList rows = rowsOf(texts.filePath(name));
        for (const QString &row : rows) {
            frame.lines.push_back(lineOf(row, distractorSize));
        }
        frames.push_back(frame);
    }
    return frames;
}
} // namespace Labelled
