#pragma once
// A year of history as the program would hold it, made by seed: month databases with texts in
// English and Chinese, videos of 100 frames, and vectors if asked for. Owner: the measurement that
// calls it. Thread: main, and no other thread may make files meanwhile: the process's mask of file
// modes is set for as long as it works.

#include <QDate>
#include <QString>
#include <QStringList>

namespace YearStore
{
struct Options {
    int rows = 150000; ///< frames, 100 a video, the last video takes the rest
    quint32 seed = 1;
    QDate lastDay{2024, 12, 31}; ///< the store spans the working days of the year that ends here
    int days = 0; ///< frames on so many working days up to the last; 0: on those of a year
    /// Different videos, shared by hard links among all names. They are encoded in the size of the
    /// primary screen, about two seconds each at 1920x1080; without a QGuiApplication there is no
    /// screen, and only 0 may be asked for: then there are rows alone.
    int videoKinds = 3;
    bool withVectors = false; ///< random unit vectors of 1024 floats: 1.3 GB at 150,000 rows
    /// Where a store is kept for the next measurement that asks for the same; empty for nowhere.
    QString cacheFolder;
    /// With a cache folder: month databases are copies, which may be changed. Otherwise they are
    /// hard links to the kept ones, quicker by a second, and must only be read.
    bool writableDatabases = true;
};

struct Facts {
    int rows = 0;
    int videos = 0;
    QStringList days; ///< "yyyy-MM-dd", ascending; every one has frames
    QString firstDay; ///< the first and last of them
    QString lastDay;
    int framesOfFirstDay = 0;
    QString busiestDay; ///< with the most frames
    int framesOfBusiestDay = 0;
    QString lastVideo;
    int framesOfLastVideo = 0;
    qint64 firstTime = 0; ///< seconds since the epoch
    qint64 lastTime = 0;
    QString rareWord; ///< English, in lower case everywhere
    int rareWordRows = 0;
    QString rareChineseWord;
    int rareChineseWordRows = 0;
    QString commonWord; ///< in most of the rows
    QString absentWord; ///< nowhere, though its beginnings are frequent
};

/// Takes "--rows N" out of @p arguments: a store of so many frames, over as many working days as
/// leave a day as long as that of @p usual. Without it gives @p usual. Ends the program with a
/// message if N is no number of frames.
Options chosen(QStringList *arguments, const Options &usual);

/// Makes the store below @p home, in `.cache/tavel-ai-yestermark`, whose `screenshots`,
/// `traditional_database` and `vector_database` it replaces. Ends the program with a message if it
/// cannot. About 20 seconds for 150,000 rows on two cores, two from a cache folder.
Facts make(const QString &home, const Options &options);

/// What make() would give, without making anything.
Facts facts(const Options &options);
} // namespace YearStore
