// Plants each disagreement in a sound history and sees it told, and nothing else; plants each
// irregularity that is as it should be and sees it accepted.

#include "historyworld.h"

#include "history/historychecker.h"
#include "support/fakeclock.h"
#include "support/testfiles.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTest>

#include <sqlite3.h>

namespace
{
using Plant = void (*)(const HistoryWorld &world);

/// "kind count" of every kind that occurs, sorted.
QStringList summary(const QVector<HistoryChecker::Finding> &findings)
{
    QMap<QString, int> counts;
    for (const HistoryChecker::Finding &finding : findings) {
        ++counts[HistoryChecker::text(finding).section(QLatin1Char(':'), 0, 0)];
    }
    QStringList lines;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
        lines.append(count.key() + QLatin1Char(' ') + QString::number(*count));
    }
    return lines;
}

/// In a new file: the old one is shared with other names.
void replace(const HistoryWorld &world, const QString &path, const QByteArray &content)
{
    QFile::remove(path);
    world.write(path, content);
}

void openToOthers(const QString &path, QFile::Permissions more)
{
    QFile::setPermissions(path, QFile::permissions(path) | more);
}

/// The video's frames as the PNG files of a batch that was never encoded.
void turnIntoImages(const HistoryWorld &world, const QString &video, int frames)
{
    QFile::remove(world.pathOf(video));
    for (int number = 1; number <= frames; ++number) {
        world.write(world.pathOf(video) +
                    QStringLiteral("_%1.png").arg(number, 3, 10, QLatin1Char('0')));
    }
}

void addDisagreementsOfFiles()
{
    QTest::newRow("a video is gone")
        << Plant([](const HistoryWorld &world) { QFile::remove(world.pathOf(world.lastVideo())); })
        << QStringList{QStringLiteral("row without frame 50")};
    QTest::newRow("a video is shorter than its rows tell") << Plant([](const HistoryWorld &world) {
        const QString longer = world.pathOf(world.videos().first());
        QFile::remove(longer);
        QFile::copy(world.pathOf(world.lastVideo()), longer);
    }) << QStringList{QStringLiteral("row without frame 50")};
    QTest::newRow("a video is cut short") << Plant([](const HistoryWorld &world) {
        const QString path = world.pathOf(world.lastVideo());
        replace(world, path, contentOf(path).left(20000));
    })
                                          << QStringList{QStringLiteral("row without frame 50"),
                                                         QStringLiteral("video without frames 1")};
    QTest::newRow("a picture of an open batch is gone")
        << Plant([](const HistoryWorld &world) { turnIntoImages(world, world.lastVideo(), 49); })
        << QStringList{QStringLiteral("row without frame 1")};
    QTest::newRow("a file that is no video has a video's name")
        << Plant([](const HistoryWorld &world) {
               world.write(world.pathOf(world.facts().lastDay + QStringLiteral("_23-00-00.mp4")));
           })
        << QStringList{QStringLiteral("video without frames 1")};
    QTest::newRow("a picture stands beside its finished video")
        << Plant([](const HistoryWorld &world) {
               world.write(world.pathOf(world.lastVideo()) + QStringLiteral("_050.png"));
           })
        << QStringList{QStringLiteral("image beside its video 1")};
    QTest::newRow("a video lies in another day's folder") << Plant([](const HistoryWorld &world) {
        QFile::rename(world.pathOf(world.lastVideo()), world.folderOfDay(world.facts().firstDay) +
                                                           QLatin1Char('/') + world.lastVideo());
    }) << QStringList{QStringLiteral("misplaced file 1"), QStringLiteral("row without frame 50")};
}

void addUnknownFiles()
{
    const QStringList one{QStringLiteral("unknown file 1")};
    QTest::newRow("a file in a day's folder that is nothing of ours")
        << Plant([](const HistoryWorld &world) {
               world.write(world.folderOfDay(world.facts().lastDay) + QStringLiteral("/notes.txt"));
           })
        << one;
    QTest::newRow("a picture without a number") << Plant([](const HistoryWorld &world) {
        world.write(world.pathOf(world.lastVideo()) + QStringLiteral(".png"));
    }) << one;
    QTest::newRow("a picture beyond a batch") << Plant([](const HistoryWorld &world) {
        world.write(world.pathOf(world.lastVideo()) + QStringLiteral("_101.png"));
    }) << one;
    QTest::newRow("a video of no moment of the calendar") << Plant([](const HistoryWorld &world) {
        world.write(world.pathOf(world.facts().lastDay + QStringLiteral("_25-00-00.mp4")));
    }) << one;
    QTest::newRow("a link to a video elsewhere") << Plant([](const HistoryWorld &world) {
        QFile::link(world.pathOf(world.lastVideo()),
                    world.pathOf(world.facts().lastDay + QStringLiteral("_23-00-00.mp4")));
    }) << one;
    QTest::newRow("a folder of no day") << Plant([](const HistoryWorld &world) {
        QDir().mkpath(world.root() + QStringLiteral("/screenshots/2024-12/2024-12-32"));
    }) << one;
    QTest::newRow("a day's folder in another month's") << Plant([](const HistoryWorld &world) {
        QDir().mkpath(world.root() + QStringLiteral("/screenshots/2024-12/2024-11-30"));
    }) << one;
    QTest::newRow("a file beside the months") << Plant([](const HistoryWorld &world) {
        world.write(world.root() + QStringLiteral("/screenshots/2024-13"));
    }) << one;
    QTest::newRow("a database of no month") << Plant([](const HistoryWorld &world) {
        world.write(world.root() + QStringLiteral("/traditional_database/notes.db"));
    }) << one;
    QTest::newRow("a journal whose month is gone") << Plant([](const HistoryWorld &world) {
        world.write(world.root() + QStringLiteral("/traditional_database/2024-11.db-journal"));
    }) << one;
    QTest::newRow("a half-built copy of the vectors after the work is done")
        << Plant([](const HistoryWorld &world) {
               world.write(world.root() + QStringLiteral("/vector_database/matrix_1.bin.new"));
           })
        << one;
}

void addDisagreementsOfModes()
{
    const QStringList one{QStringLiteral("open to others 1")};
    QTest::newRow("others can read a video") << Plant([](const HistoryWorld &world) {
        const QString path = world.pathOf(world.lastVideo());
        replace(world, path, contentOf(path));
        openToOthers(path, QFile::ReadOther);
    }) << one;
    QTest::newRow("the group can read a month's file") << Plant([](const HistoryWorld &world) {
        openToOthers(world.monthFile(), QFile::ReadGroup);
    }) << one;
    QTest::newRow("others can write the vectors") << Plant([](const HistoryWorld &world) {
        openToOthers(world.vectorFile(), QFile::WriteOther);
    }) << one;
    QTest::newRow("others can search a day's folder") << Plant([](const HistoryWorld &world) {
        openToOthers(world.folderOfDay(world.facts().firstDay), QFile::ExeOther);
    }) << one;
    QTest::newRow("others can list the root")
        << Plant([](const HistoryWorld &world) { openToOthers(world.root(), QFile::ReadOther); })
        << one;
}

void addDisagreementsOfRows()
{
    QTest::newRow("a row names no video")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral(
                   "UPDATE screenshots SET video_name = substr(video_name, 1, 10) || '.mp4' "
                   "WHERE video_name = $last AND frame_index_of_video = 50"));
               world.changeVectors(QStringLiteral(
                   "DELETE FROM rows_1 WHERE videoName = $last AND frameIndexOfVideo = 50"));
           })
        << QStringList{QStringLiteral("impossible row 1"), QStringLiteral("misnumbered day 1"),
                       QStringLiteral("row without frame 1")};
    QTest::newRow("a frame has two rows") << Plant([](const HistoryWorld &world) {
        world.changeRows(
            QStringLiteral("INSERT INTO screenshots SELECT NULL, video_name, 'other', "
                           "frame_index_of_video, frame_index_of_day, real_time, desktop_file_path "
                           "FROM screenshots ORDER BY id DESC LIMIT 1"));
    }) << QStringList{QStringLiteral("doubled row 1")};
    QTest::newRow("rows stand in another month's file") << Plant([](const HistoryWorld &world) {
        QFile::rename(world.monthFile(),
                      world.root() + QStringLiteral("/traditional_database/2024-11.db"));
    }) << QStringList{QStringLiteral("row in wrong month 450")};
    QTest::newRow("a row's time is of another day than its video")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(
                   QStringLiteral("UPDATE screenshots SET real_time = real_time + 86400 "
                                  "WHERE video_name = $last AND frame_index_of_video = 50"));
               world.changeVectors(
                   QStringLiteral("UPDATE rows_1 SET realTime = realTime + 86400 "
                                  "WHERE videoName = $last AND frameIndexOfVideo = 50"));
           })
        << QStringList{QStringLiteral("row of another day 1")};
    QTest::newRow("a frame has a number in the day that is not its own")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral(
                   "UPDATE screenshots SET frame_index_of_day = frame_index_of_day + 7 "
                   "WHERE video_name = $last AND frame_index_of_video = 20"));
           })
        << QStringList{QStringLiteral("misnumbered video 1")};
    QTest::newRow("a video's rows are not in the order of its frames")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral("UPDATE screenshots SET id = 10000 WHERE id = 449"));
           })
        << QStringList{QStringLiteral("misnumbered video 1"),
                       QStringLiteral("video that runs backwards 1")};
    QTest::newRow("a video's times go back") << Plant([](const HistoryWorld &world) {
        world.changeRows(QStringLiteral("UPDATE screenshots SET real_time = real_time - 100 "
                                        "WHERE video_name = $last AND frame_index_of_video = 20"));
        world.changeVectors(QStringLiteral("UPDATE rows_1 SET realTime = realTime - 100 "
                                           "WHERE videoName = $last AND frameIndexOfVideo = 20"));
    }) << QStringList{QStringLiteral("video that runs backwards 1")};
    QTest::newRow("a video leaves out numbers of the day") << Plant([](const HistoryWorld &world) {
        world.changeRows(
            QStringLiteral("UPDATE screenshots SET frame_index_of_day = frame_index_of_day + 7 "
                           "WHERE video_name = $last"));
    }) << QStringList{QStringLiteral("misnumbered day 1")};
    QTest::newRow("a video gives numbers of the day again") << Plant([](const HistoryWorld &world) {
        world.changeRows(
            QStringLiteral("UPDATE screenshots SET frame_index_of_day = frame_index_of_day - 7 "
                           "WHERE video_name = $last"));
    }) << QStringList{QStringLiteral("misnumbered day 1")};
    QTest::newRow("a day does not begin with 1") << Plant([](const HistoryWorld &world) {
        world.changeRows(QStringLiteral("UPDATE screenshots SET frame_index_of_day = "
                                        "frame_index_of_day + 1 WHERE video_name LIKE '") +
                         world.facts().firstDay + QStringLiteral("%'"));
    }) << QStringList{QStringLiteral("misnumbered day 1")};
}

void addDisagreementsOfDatabases()
{
    QTest::newRow("a month's file is no database") << Plant([](const HistoryWorld &world) {
        world.write(world.monthFile(), QByteArray(8192, 'x'));
    }) << QStringList{QStringLiteral("unreadable database 1")};
    QTest::newRow("a month's file is cut short") << Plant([](const HistoryWorld &world) {
        QFile(world.monthFile()).resize(qint64{100} * 4096);
    }) << QStringList{QStringLiteral("unreadable database 1")};
    QTest::newRow("a month's file is empty")
        << Plant([](const HistoryWorld &world) { QFile(world.monthFile()).resize(0); })
        << QStringList{QStringLiteral("unreadable database 1")};
    QTest::newRow("a month's file lacks its table") << Plant([](const HistoryWorld &world) {
        world.changeRows(QStringLiteral("DROP TABLE screenshots"));
    }) << QStringList{QStringLiteral("unreadable database 1")};
    QTest::newRow("the vectors' file is no database") << Plant([](const HistoryWorld &world) {
        world.write(world.vectorFile(), QByteArray(8192, 'x'));
    }) << QStringList{QStringLiteral("unreadable vectors 1")};
    QTest::newRow("a vector has no row") << Plant([](const HistoryWorld &world) {
        world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id IN (5, 450)"));
    }) << QStringList{QStringLiteral("vector without row 2")};
    QTest::newRow("a frame has two vectors") << Plant([](const HistoryWorld &world) {
        world.changeVectors(
            QStringLiteral("INSERT INTO rows_1 SELECT NULL, 'other', videoName, frameIndexOfVideo, "
                           "realTime, vector FROM rows_1 WHERE row_id = 5"));
    }) << QStringList{QStringLiteral("doubled vector 1")};
    QTest::newRow("a vector's time is not its row's") << Plant([](const HistoryWorld &world) {
        world.changeVectors(
            QStringLiteral("UPDATE rows_1 SET realTime = realTime + 1 WHERE row_id = 5"));
    }) << QStringList{QStringLiteral("vector of another time 1")};
}

/// What a kill in the middle of a truncation leaves.
void addLeftOversOfTruncation()
{
    QTest::newRow("work file beside the old video") << Plant([](const HistoryWorld &world) {
        world.write(world.pathOf(world.lastVideo()) + QStringLiteral(".pending.mp4"));
    }) << QStringList{QStringLiteral("left over from a truncation 1")};
    QTest::newRow("old video under its second name alone") << Plant([](const HistoryWorld &world) {
        const QString path = world.pathOf(world.lastVideo());
        QFile::rename(path, path + QStringLiteral(".bak"));
    }) << QStringList{QStringLiteral("left over from a truncation 1")};
    QTest::newRow("no video between the two renames") << Plant([](const HistoryWorld &world) {
        const QString path = world.pathOf(world.videos().first());
        QFile::rename(path, path + QStringLiteral(".bak"));
        QFile::copy(world.pathOf(world.lastVideo()), path + QStringLiteral(".pending.mp4"));
    }) << QStringList{QStringLiteral("left over from a truncation 2")};
    QTest::newRow("shortened video beside its backup") << Plant([](const HistoryWorld &world) {
        const QString path = world.pathOf(world.videos().first());
        QFile::rename(path, path + QStringLiteral(".bak"));
        QFile::copy(world.pathOf(world.lastVideo()), path);
    }) << QStringList{QStringLiteral("left over from a truncation 1")};
}

void addIrregularitiesOfFiles()
{
    QTest::newRow("the frame too many in a shortened file") << Plant([](const HistoryWorld &world) {
        world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id = 450"));
        world.changeVectors(QStringLiteral("DELETE FROM rows_1 WHERE row_id = 450"));
    }) << QStringList{QStringLiteral("frame without row 1")};
    QTest::newRow("a video of which no row was stored")
        << Plant([](const HistoryWorld &world) { world.addVideo(0, 1); })
        << QStringList{QStringLiteral("frame without row 1")};
    QTest::newRow("pictures beside a video of a day that no start looks at")
        << Plant([](const HistoryWorld &world) {
               world.write(world.pathOf(world.videos().first()) + QStringLiteral("_100.png"));
           })
        << QStringList{QStringLiteral("unfinished work 1")};
    QTest::newRow("a batch that is open")
        << Plant([](const HistoryWorld &world) { turnIntoImages(world, world.lastVideo(), 50); })
        << QStringList{QStringLiteral("images without video 1")};
    QTest::newRow("a day that was erased file by file") << Plant([](const HistoryWorld &world) {
        QDir().mkpath(world.folderOfDay(QStringLiteral("2024-12-01")));
    }) << QStringList{};
}

void addIrregularitiesOfRows()
{
    QTest::newRow("frames without vector") << Plant([](const HistoryWorld &world) {
        world.changeVectors(QStringLiteral("DELETE FROM rows_1 WHERE row_id IN (7, 8, 450)"));
    }) << QStringList{QStringLiteral("row without vector 2")}; // videos
    QTest::newRow("no vectors at all") << Plant([](const HistoryWorld &world) {
        QDir(world.root() + QStringLiteral("/vector_database")).removeRecursively();
    }) << QStringList{QStringLiteral("row without vector 5")};
    QTest::newRow("a vectors' file that is made and not used yet")
        << Plant([](const HistoryWorld &world) {
               world.changeVectors(QStringLiteral("DELETE FROM collections"));
           })
        << QStringList{QStringLiteral("row without vector 5")};
    QTest::newRow("frames kept while the day's folder could not be made")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(
                   QStringLiteral("INSERT INTO screenshots SELECT NULL, '', '', 1, "
                                  "frame_index_of_day + 1, real_time + 5, 'a' FROM screenshots "
                                  "ORDER BY id DESC LIMIT 1"));
           })
        << QStringList{QStringLiteral("row without video 1")};
    QTest::newRow("a journal that nothing has been written behind yet")
        << Plant([](const HistoryWorld &world) {
               world.write(world.monthFile() + QStringLiteral("-journal"), QByteArray());
           })
        << QStringList{QStringLiteral("unfinished work 1")};
    QTest::newRow("a month whose file is gone")
        << Plant([](const HistoryWorld &world) { QFile::remove(world.monthFile()); })
        << QStringList{QStringLiteral("frame without row 5"),
                       QStringLiteral("vector of a missing month 450")};
}

/// Numbers of a day that do not run on, and why they may not.
void addIrregularNumbers()
{
    const QStringList goesOn{QStringLiteral("row without vector 1")};
    QTest::newRow("a start counts the day's rows")
        << Plant([](const HistoryWorld &world) { world.addVideo(50, world.framesOfLastDay() + 1); })
        << goesOn;
    QTest::newRow("a row could not be stored, the recorder goes on counting")
        << Plant([](const HistoryWorld &world) {
               // The rows behind it take the numbers that they would have got without it.
               world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id = 420;"
                                               "UPDATE screenshots SET id = -id WHERE id > 420;"
                                               "UPDATE screenshots SET id = -id - 1 WHERE id < 0;"
                                               "UPDATE sqlite_sequence SET seq = 449"));
               world.changeVectors(QStringLiteral("DELETE FROM rows_1 WHERE row_id = 420"));
               world.addVideo(50, world.framesOfLastDay() + 1);
           })
        << QStringList{QStringLiteral("frame without row 1"),
                       QStringLiteral("row without vector 1")};
    QTest::newRow("the clock went back a day, and forward again")
        << Plant([](const HistoryWorld &world) {
               const int first = world.facts().framesOfFirstDay;
               world.addVideo(50, first + 1, -86400);
               world.addVideo(50, world.framesOfLastDay() + 1);
           })
        << QStringList{QStringLiteral("row without vector 2")};
    QTest::newRow("the clock went back an hour") << Plant([](const HistoryWorld &world) {
        world.addVideo(50, world.framesOfLastDay() + 1, -3600);
    }) << goesOn;
}

/// What deletions do to a day's numbers.
void addNumbersAfterDeletion()
{
    QTest::newRow("after the last minutes were erased the recorder gives their numbers again")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id > 430"));
               world.changeVectors(QStringLiteral("DELETE FROM rows_1 WHERE row_id > 430"));
               world.addVideo(50, world.framesOfLastDay() - 20 + 1);
           })
        << QStringList{QStringLiteral("frame without row 1"),
                       QStringLiteral("row without vector 1")};
    QTest::newRow("after a range that began yesterday the day begins anew")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id > 50"));
               world.changeVectors(QStringLiteral("DELETE FROM rows_1 WHERE row_id > 50"));
               for (const QString &video : world.videos().mid(1)) {
                   QFile::remove(world.pathOf(video));
               }
               world.write(world.pathOf(world.facts().lastDay + QStringLiteral("_22-00-00.mp4")) +
                           QStringLiteral("_001.png"));
               world.changeRows(
                   QStringLiteral("INSERT INTO screenshots VALUES (NULL, '%1_22-00-00.mp4', '', 1, "
                                  "1, %2, 'a')")
                       .arg(world.facts().lastDay)
                       .arg(world.facts().lastTime));
           })
        << QStringList{QStringLiteral("frame without row 1"),
                       QStringLiteral("images without video 1"),
                       QStringLiteral("row without vector 1")};
    QTest::newRow("after its day was erased the recorder goes on counting")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral("DELETE FROM screenshots"));
               world.changeVectors(QStringLiteral("DELETE FROM rows_1"));
               for (const QString &video : world.videos().mid(0, 4)) {
                   QFile::remove(world.pathOf(video));
               }
               world.addVideo(50, 301);
               QFile::remove(world.pathOf(world.lastVideo()));
           })
        << QStringList{QStringLiteral("renumbered day 1"), QStringLiteral("row without vector 1")};
    QTest::newRow("a start after rows in the middle of the day were erased counts fewer")
        << Plant([](const HistoryWorld &world) {
               world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id BETWEEN 405 AND "
                                               "414"));
               world.changeVectors(
                   QStringLiteral("DELETE FROM rows_1 WHERE row_id BETWEEN 405 AND 414"));
               world.addVideo(50, world.framesOfLastDay() - 10 + 1);
           })
        << QStringList{QStringLiteral("frame without row 1"),
                       QStringLiteral("row without vector 1")};
    QTest::newRow("the row on a deletion's first second stays and its number is given again")
        << Plant([](const HistoryWorld &world) { world.addVideo(50, world.framesOfLastDay()); })
        << QStringList{QStringLiteral("renumbered day 1"), QStringLiteral("row without vector 1")};
}
} // namespace

Q_DECLARE_METATYPE(Plant)

class TestHistoryChecker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { FakeClock::reset(); }

    void soundHistoryHasNoFinding();
    void everyDisagreementIsTold_data();
    void everyDisagreementIsTold();
    void everyIrregularityThatMayBeIsAccepted_data();
    void everyIrregularityThatMayBeIsAccepted();
    void vectorsBehindADeletionOfEverythingMayLieInTheFuture();
    void damagedFrameIsToldWhenVideosAreDecoded();
    void unfinishedWorkIsAcceptedOnlyWhileThereIsSome();
    void interruptedRowIsReadAsItWasBefore();
    void boxIsLookedAtToo();
    void nothingIsChanged();
    void emptyHomeHasNothingToTell();
    void toolEndsWithOneIfSomethingDisagrees();

private:
    HistoryWorld m_world;
};

void TestHistoryChecker::init()
{
    m_world.reset();
}

void TestHistoryChecker::soundHistoryHasNoFinding()
{
    const HistoryChecker::Report report = HistoryChecker::check(m_world.home(), {false, true});
    QCOMPARE(summary(report.disagreements), QStringList());
    QCOMPARE(summary(report.irregularities), QStringList());
    QCOMPARE(report.videos, 5);
    QCOMPARE(report.rows, HistoryWorld::rows);
    QCOMPARE(report.vectors, HistoryWorld::rows);
}

void TestHistoryChecker::everyDisagreementIsTold_data()
{
    QTest::addColumn<Plant>("plant");
    QTest::addColumn<QStringList>("told");
    addDisagreementsOfFiles();
    addUnknownFiles();
    addDisagreementsOfModes();
    addDisagreementsOfRows();
    addDisagreementsOfDatabases();
}

void TestHistoryChecker::everyDisagreementIsTold()
{
    QFETCH(Plant, plant);
    QFETCH(QStringList, told);
    plant(m_world);
    QCOMPARE(summary(HistoryChecker::check(m_world.home()).disagreements), told);
}

void TestHistoryChecker::everyIrregularityThatMayBeIsAccepted_data()
{
    QTest::addColumn<Plant>("plant");
    QTest::addColumn<QStringList>("accepted");
    addLeftOversOfTruncation();
    addIrregularitiesOfFiles();
    addIrregularitiesOfRows();
    addIrregularNumbers();
    addNumbersAfterDeletion();
}

void TestHistoryChecker::everyIrregularityThatMayBeIsAccepted()
{
    QFETCH(Plant, plant);
    QFETCH(QStringList, accepted);
    plant(m_world);
    const HistoryChecker::Report report = HistoryChecker::check(m_world.home());
    QCOMPARE(summary(report.disagreements), QStringList());
    QCOMPARE(summary(report.irregularities), accepted);
}

void TestHistoryChecker::vectorsBehindADeletionOfEverythingMayLieInTheFuture()
{
    m_world.changeRows(QStringLiteral("DELETE FROM screenshots WHERE id > 445"));
    FakeClock::freeze(QDateTime::fromSecsSinceEpoch(m_world.facts().lastTime - 9));
    HistoryChecker::Report report = HistoryChecker::check(m_world.home());
    QCOMPARE(report.count(HistoryChecker::Kind::VectorOfTheFuture), 2);
    QCOMPARE(report.count(HistoryChecker::Kind::VectorWithoutRow), 3);
}

void TestHistoryChecker::damagedFrameIsToldWhenVideosAreDecoded()
{
    const QString path = m_world.pathOf(m_world.lastVideo());
    QByteArray content = contentOf(path);
    const int middle = content.size() / 2;
    content.replace(middle, 2000, QByteArray(2000, '\x55'));
    replace(m_world, path, content);
    QCOMPARE(summary(HistoryChecker::check(m_world.home()).disagreements), QStringList());
    QCOMPARE(summary(HistoryChecker::check(m_world.home(), {false, true}).disagreements),
             QStringList{QStringLiteral("frame that does not decode 1")});
}

void TestHistoryChecker::unfinishedWorkIsAcceptedOnlyWhileThereIsSome()
{
    turnIntoImages(m_world, m_world.lastVideo(), 50);
    m_world.write(m_world.pathOf(m_world.lastVideo()), "the encoder has just begun");
    m_world.write(m_world.monthFile() + QStringLiteral("-journal"), QByteArray());
    m_world.write(m_world.vectorFile() + QStringLiteral("-wal"), QByteArray());
    m_world.write(m_world.root() + QStringLiteral("/vector_database/matrix_1.bin.new"));
    m_world.write(m_world.root() + QStringLiteral("/traditional_database/2025-01.db"),
                  QByteArray());
    const HistoryChecker::Report meanwhile = HistoryChecker::check(m_world.home(), {true, false});
    QCOMPARE(summary(meanwhile.disagreements), QStringList());
    QCOMPARE(summary(meanwhile.irregularities), QStringList{QStringLiteral("unfinished work 3")});
    const QStringList told{QStringLiteral("image beside its video 1"),
                           QStringLiteral("unknown file 2"),
                           QStringLiteral("unreadable database 1")};
    QCOMPARE(summary(HistoryChecker::check(m_world.home()).disagreements), told);
}

void TestHistoryChecker::interruptedRowIsReadAsItWasBefore()
{
    // A change that has reached the file, with the journal that takes it back.
    const QString journal = m_world.monthFile() + QStringLiteral("-journal");
    const QByteArray before = contentOf(m_world.monthFile());
    sqlite3 *handle = nullptr;
    QCOMPARE(sqlite3_open(QFile::encodeName(m_world.monthFile()).constData(), &handle), SQLITE_OK);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection(handle, &sqlite3_close);
    QCOMPARE(sqlite3_exec(handle,
                          "PRAGMA cache_size=1; BEGIN; DELETE FROM screenshots WHERE id < 300",
                          nullptr, nullptr, nullptr),
             SQLITE_OK);
    QVERIFY(contentOf(m_world.monthFile()) != before);
    QVERIFY(QFileInfo(journal).size() > 0);
    const HistoryChecker::Report report = HistoryChecker::check(m_world.home(), {true, false});
    QCOMPARE(summary(report.disagreements), QStringList());
    QCOMPARE(report.rows, HistoryWorld::rows);
    QVERIFY(QFileInfo(journal).size() > 0);
}

void TestHistoryChecker::boxIsLookedAtToo()
{
    const QString box = m_world.home() + QStringLiteral("/.vault/tavel-ai-yestermark");
    QVERIFY(QDir().mkpath(box));
    for (const char *name : {"/screenshots", "/traditional_database"}) {
        QVERIFY(QDir().rename(m_world.root() + QLatin1String(name), box + QLatin1String(name)));
    }
    HistoryChecker::Report report = HistoryChecker::check(m_world.home());
    QCOMPARE(summary(report.disagreements), QStringList());
    QCOMPARE(report.rows, HistoryWorld::rows);
    QCOMPARE(report.vectors, HistoryWorld::rows);
    m_world.write(box + QStringLiteral("/screenshots/notes.txt"));
    report = HistoryChecker::check(m_world.home());
    QCOMPARE(summary(report.disagreements), QStringList{QStringLiteral("unknown file 1")});
}

void TestHistoryChecker::nothingIsChanged()
{
    QProcess list;
    const QStringList arguments{m_world.home(), QStringLiteral("-printf"),
                                QStringLiteral("%P %m %s %T@\n")};
    list.start(QStringLiteral("find"), arguments);
    QVERIFY(list.waitForFinished());
    const QByteArray before = list.readAllStandardOutput();
    HistoryChecker::check(m_world.home(), {false, true});
    list.start(QStringLiteral("find"), arguments);
    QVERIFY(list.waitForFinished());
    QCOMPARE(list.readAllStandardOutput(), before);
    QVERIFY(before.contains("vectors.db"));
}

void TestHistoryChecker::emptyHomeHasNothingToTell()
{
    const QTemporaryDir home;
    const HistoryChecker::Report report = HistoryChecker::check(home.path());
    QVERIFY(report.disagreements.isEmpty() && report.irregularities.isEmpty());
}

void TestHistoryChecker::toolEndsWithOneIfSomethingDisagrees()
{
    QProcess tool;
    tool.start(QStringLiteral(HISTORYCHECK), {m_world.home(), QStringLiteral("--deep")});
    QVERIFY(tool.waitForFinished());
    QCOMPARE(tool.exitCode(), 0);
    QCOMPARE(tool.readAllStandardOutput(),
             QByteArray("5 videos, 450 rows, 450 vectors, 0 disagreements\n"));
    QFile::remove(m_world.pathOf(m_world.lastVideo()));
    tool.start(QStringLiteral(HISTORYCHECK), {m_world.home()});
    QVERIFY(tool.waitForFinished());
    QCOMPARE(tool.exitCode(), 1);
    const QString output = QString::fromUtf8(tool.readAllStandardOutput());
    QVERIFY(output.contains(
        QStringLiteral("row without frame: %1#50, 0 frames, 0 images\n").arg(m_world.lastVideo())));
    QVERIFY(output.endsWith(QStringLiteral("4 videos, 450 rows, 450 vectors, 50 disagreements\n")));
}

QTEST_MAIN(TestHistoryChecker)
#include "historycheckertest.moc"
