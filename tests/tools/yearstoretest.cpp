// The year that measurements run on is one that the program could have recorded.

#include "support/yearstore.h"

#include "database/ocrscreenshotdatabase.h"
#include "history/historychecker.h"
#include "history/readonlydatabase.h"
#include "support/fakeclock.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace
{
const QString databases = QStringLiteral("/.cache/tavel-ai-yestermark/traditional_database");
const QString screenshots = QStringLiteral("/.cache/tavel-ai-yestermark/screenshots");

YearStore::Options littleYear()
{
    YearStore::Options options;
    options.rows = 2450;
    options.videoKinds = 1;
    return options;
}

/// Of names, sizes and contents of the month databases.
QByteArray fingerprint(const QString &home)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const QFileInfo &info : QDir(home + databases).entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(info.filePath());
        hash.addData(info.fileName().toUtf8());
        hash.addData(file.open(QFile::ReadOnly) ? file.readAll() : QByteArray());
    }
    return hash.result();
}

int countRows(const QString &home, const QByteArray &condition)
{
    int rows = 0;
    for (const QFileInfo &info : QDir(home + databases).entryInfoList(QDir::Files)) {
        ReadOnlyDatabase month(info.filePath());
        rows += month.value("SELECT count(*) FROM screenshots WHERE " + condition).toInt();
    }
    return rows;
}

QByteArray like(const QString &word)
{
    return "ocr_text LIKE '%" + word.toUtf8() + "%'";
}

ino_t inodeOf(const QString &path)
{
    struct stat facts {
    };
    ::stat(QFile::encodeName(path).constData(), &facts);
    return facts.st_ino;
}

/// The first by name: file systems list in orders of their own.
QString firstFile(const QString &folder)
{
    QString first;
    QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        if (first.isEmpty() || file < first) {
            first = file;
        }
    }
    return first;
}
} // namespace

class TestYearStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void historyIsSound();
    void factsAreTrue();
    void framesStandFiveSecondsApartInWorkingHours();
    void textsAreOfAScreensLength();
    void filesAreMadeAsTheProgramMakesThem();
    void sameSeedGivesTheSameStore();
    void keptStoreIsTakenAgain();
    void otherOptionsReplaceTheKeptStore();
    void chosenSizeKeepsTheLengthOfADay();

private:
    QTemporaryDir m_home;
    YearStore::Facts m_facts;
};

void TestYearStore::initTestCase()
{
    m_facts = YearStore::make(m_home.path(), littleYear());
}

void TestYearStore::historyIsSound()
{
    const HistoryChecker::Report report = HistoryChecker::check(m_home.path());
    for (const HistoryChecker::Finding &finding : report.disagreements) {
        qWarning("%s", qPrintable(HistoryChecker::text(finding)));
    }
    QVERIFY(report.disagreements.isEmpty());
    QCOMPARE(report.irregularities.size(), report.count(HistoryChecker::Kind::RowWithoutVector));
    QCOMPARE(report.rows, 2450);
    QCOMPARE(report.videos, 25);
}

void TestYearStore::factsAreTrue()
{
    const QString home = m_home.path();
    QCOMPARE(m_facts.rows, countRows(home, "1"));
    QCOMPARE(m_facts.videos, 25);
    QCOMPARE(m_facts.framesOfLastVideo, 50);
    QCOMPARE(m_facts.rareWordRows, countRows(home, like(m_facts.rareWord)));
    QCOMPARE(m_facts.rareWordRows, 40);
    QCOMPARE(m_facts.rareChineseWordRows, countRows(home, like(m_facts.rareChineseWord)));
    QCOMPARE(m_facts.rareChineseWordRows, 24);
    QCOMPARE(countRows(home, like(m_facts.absentWord)), 0);
    QVERIFY(countRows(home, like(m_facts.commonWord)) > m_facts.rows / 2);
    const QByteArray ofDay = "video_name LIKE '%1%%'";
    QCOMPARE(m_facts.framesOfFirstDay,
             countRows(home, QByteArray(ofDay).replace("%1", m_facts.firstDay.toUtf8())));
    QCOMPARE(m_facts.framesOfBusiestDay,
             countRows(home, QByteArray(ofDay).replace("%1", m_facts.busiestDay.toUtf8())));
    QStringList days;
    QDirIterator folders(home + screenshots, QDir::Dirs | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (folders.hasNext()) {
        folders.next();
        if (folders.fileName().size() == 10) {
            days.append(folders.fileName());
        }
    }
    days.sort();
    QCOMPARE(m_facts.days, days);
}

void TestYearStore::framesStandFiveSecondsApartInWorkingHours()
{
    qint64 last = 0;
    for (const QFileInfo &info :
         QDir(m_home.path() + databases).entryInfoList(QDir::Files, QDir::Name)) {
        ReadOnlyDatabase month(info.filePath());
        const auto look = [&last](const Statement &row) {
            const QDateTime time = QDateTime::fromSecsSinceEpoch(row.int64(0));
            QVERIFY(row.int64(0) >= last + 5);
            QVERIFY(time.date().dayOfWeek() <= Qt::Friday);
            QVERIFY(time.time() >= QTime(9, 0) && time.time() <= QTime(18, 0));
            last = row.int64(0);
        };
        QVERIFY(month.forEach("SELECT real_time FROM screenshots ORDER BY id", look));
    }
    QCOMPARE(last, m_facts.lastTime);
}

void TestYearStore::textsAreOfAScreensLength()
{
    QCOMPARE(countRows(m_home.path(), "length(CAST(ocr_text AS BLOB)) BETWEEN 1000 AND 4096"),
             m_facts.rows);
    QCOMPARE(countRows(m_home.path(), "ocr_text LIKE '%; '"), m_facts.rows);
}

void TestYearStore::filesAreMadeAsTheProgramMakesThem()
{
    const QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    FakeClock::freeze(QDateTime(QDate(2024, 12, 15), QTime(12, 0)));
    const OcrScreenshotDatabase program;
    FakeClock::reset();
    const char *schema = "SELECT group_concat(sql, char(10)) FROM sqlite_master";
    const QString file = databases + QStringLiteral("/2024-12.db");
    ReadOnlyDatabase own(home.path() + file);
    ReadOnlyDatabase made(m_home.path() + file);
    QVERIFY(own.value(schema).contains(QStringLiteral("CREATE UNIQUE INDEX")));
    QCOMPARE(made.value(schema), own.value(schema));
    QCOMPARE(made.value("PRAGMA journal_mode"), own.value("PRAGMA journal_mode"));
    QCOMPARE(made.value("PRAGMA page_size"), own.value("PRAGMA page_size"));
}

void TestYearStore::sameSeedGivesTheSameStore()
{
    const QTemporaryDir again;
    const QTemporaryDir other;
    YearStore::Options options = littleYear();
    options.videoKinds = 0;
    YearStore::make(again.path(), options);
    QCOMPARE(fingerprint(again.path()), fingerprint(m_home.path()));
    ++options.seed;
    YearStore::make(other.path(), options);
    QVERIFY(fingerprint(other.path()) != fingerprint(m_home.path()));
}

void TestYearStore::keptStoreIsTakenAgain()
{
    const QTemporaryDir cache;
    const QTemporaryDir first;
    const QTemporaryDir second;
    YearStore::Options options = littleYear();
    options.cacheFolder = cache.path();
    YearStore::make(first.path(), options);
    // Would be overwritten by a store that is made again.
    const QString kept = firstFile(cache.filePath(QStringLiteral("screenshots")));
    const ino_t video = inodeOf(kept);
    options.writableDatabases = false;
    YearStore::make(second.path(), options);
    QCOMPARE(inodeOf(kept), video);
    QCOMPARE(inodeOf(firstFile(first.path() + screenshots)), video);
    QCOMPARE(inodeOf(firstFile(second.path() + screenshots)), video);
    QCOMPARE(fingerprint(first.path()), fingerprint(m_home.path()));
    const QString month = QStringLiteral("/2024-06.db");
    const ino_t keptMonth = inodeOf(cache.path() + QStringLiteral("/traditional_database") + month);
    QVERIFY(inodeOf(first.path() + databases + month) != keptMonth);
    QCOMPARE(inodeOf(second.path() + databases + month), keptMonth);
    QVERIFY(HistoryChecker::check(second.path()).disagreements.isEmpty());
}

void TestYearStore::otherOptionsReplaceTheKeptStore()
{
    const QTemporaryDir cache;
    const QTemporaryDir home;
    YearStore::Options options = littleYear();
    options.videoKinds = 0;
    options.cacheFolder = cache.path();
    YearStore::make(home.path(), options);
    options.rows = 300;
    QCOMPARE(YearStore::make(home.path(), options).rows, 300);
    QCOMPARE(countRows(home.path(), "1"), 300);
    QVERIFY(!QDir(home.path() + screenshots).exists());
}

void TestYearStore::chosenSizeKeepsTheLengthOfADay()
{
    QStringList arguments{QStringLiteral("bench"), QStringLiteral("--rows"),
                          QStringLiteral("500000"), QStringLiteral("folder")};
    const YearStore::Options usual;
    const YearStore::Options options = YearStore::chosen(&arguments, usual);
    QCOMPARE(arguments, QStringList({QStringLiteral("bench"), QStringLiteral("folder")}));
    const YearStore::Facts year = YearStore::facts(usual);
    const YearStore::Facts years = YearStore::facts(options);
    QCOMPARE(years.rows, 500000);
    QCOMPARE(years.lastDay, year.lastDay);
    QCOMPARE(years.rows / years.days.size() / 10, year.rows / year.days.size() / 10);
    QCOMPARE(YearStore::chosen(&arguments, usual).rows, usual.rows);
}

QTEST_MAIN(TestYearStore)
#include "yearstoretest.moc"
