#pragma once
// What a look at a stored history found. Plain values. Any thread.

#include <QString>
#include <QVector>

namespace HistoryChecker
{
enum class Kind {
    // Disagreements: nothing that the program does, nor a kill of it, leaves these behind for good.
    RowWithoutFrame,     ///< its frame is in no video, no backup of one and no PNG file
    UndecodableFrame,    ///< it is in a video, but does not decode
    VideoWithoutFrames,  ///< a file that declares no frame and has no PNG files to make it from
    ImpossibleRow,       ///< a name that is no video's, or an index outside a batch
    DoubledRow,          ///< a frame has two rows
    RowInWrongMonth,     ///< its time is not of its file's month
    RowOfAnotherDay,     ///< its time is not of its video's day
    MisnumberedVideo,    ///< the number in the day does not go with that in the video
    BackwardsVideo,      ///< a video's frames are not in the order of their times
    MisnumberedDay,      ///< a video neither goes on with the day's numbers nor counts its rows
    ImageBesideVideo,    ///< PNG files of a video that is finished
    MisplacedFile,       ///< a video's file in another day's directory
    UnknownFile,         ///< a name that nothing of the program bears
    OpenToOthers,        ///< readable, writable or searchable by others
    VectorWithoutRow,    ///< the month is there, the row is not
    DoubledVector,       ///< a frame has two vectors
    VectorOfAnotherTime, ///< its time is not the row's
    UnreadableDatabase,  ///< a month file, damaged or without its table
    UnreadableVectors,   ///< the vector store's file, damaged or without its collection

    // Irregularities that are as they should be.
    FrameWithoutRow,      ///< a kill between picture and row, or the last frame of a shortened file
    RowWithoutVector,     ///< there was none, or it lay on the first second of a deletion
    RowWithoutVideo,      ///< kept while the day's directory could not be made: it has no name
    TruncationLeftOver,   ///< work file or backup of a truncation that was killed
    ImagesWithoutVideo,   ///< a batch that is open, or that only its own day's sweep would take
    Renumbered,           ///< a day after a deletion: its numbers begin anew somewhere
    VectorOfMissingMonth, ///< rows of that month could not be stored, or are erased
    VectorOfTheFuture,    ///< a deletion of everything ends at the present moment
    UnfinishedWork,       ///< while a recorder runs, or after a kill until the next start
};

struct Finding {
    Kind kind;
    QString subject; ///< the file, video or month it is about; frames as "video#index"
    QString detail;  ///< numbers and texts, never recognised text
    qint64 time = 0; ///< of the row or vector, in seconds since the epoch; else 0
};

struct Report {
    QVector<Finding> disagreements;
    QVector<Finding> irregularities;
    int videos = 0;
    int rows = 0;
    int vectors = 0;

    void add(const Finding &finding);
    int count(Kind kind) const;
    /// Disagreements of other kinds than @p kind.
    QVector<Finding> otherThan(Kind kind) const;
};

/// Whether the program never leaves such a thing behind.
bool isDisagreement(Kind kind);

/// What a kind is called, such as "row without frame".
QString name(Kind kind);

/// One line: kind, subject, detail.
QString text(const Finding &finding);
} // namespace HistoryChecker
