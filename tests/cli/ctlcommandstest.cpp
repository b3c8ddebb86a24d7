// What every command of yestermarkctl says of a sound history, as text and as JSON.

#include "cli/ctlworld.h"
#include "tools/historyworld.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

class TestCtlCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void helpAndVersionGoToTheOutput();
    void wrongUsageEndsWithTwo_data();
    void wrongUsageEndsWithTwo();
    void searchFindsTheNewestFirst();
    void searchTellsAllOfAFrameInJson();
    void searchTakesSignsToTheLetter_data();
    void searchTakesSignsToTheLetter();
    void searchDoesNotMindTheCaseOfLetters();
    void searchKeepsToSpanAppAndLimit();
    void searchForWhatIsNowhereEndsWithOne();
    void textThatBeginsWithADashIsSearchedBehindTwo();
    void textInAnyLocaleIsUtf8();
    void controlCharactersOfATextDoNotReachATerminal();
    void daysAreListed();
    void appsAreListedByFrames();
    void showWritesAFrameByVideoOrDay();
    void showGivesTheLastFrameOfAVideoItsOwnHeight();
    void showTakesAFrameOfTheOpenBatchFromItsSafetyCopy();
    void showOverwritesNothing();
    void exportWritesVideosAndTexts();
    void exportTakesImagesOfTheOpenBatch();
    void exportOverwritesNothing();
    void exportDoesNotGoIntoTheHistory();
    void verifyTellsThatAllAgree();
    void verifyTellsDisagreements();
    void statusTellsSizesAndWhyNothingIsStored();
    void nothingOfTheHistoryIsChanged();

private:
    void setText(const QString &text, int index = HistoryWorld::framesOfLastVideo) const;
    QString frame(int index) const
    {
        return m_world.lastVideo() + QLatin1Char('#') + QString::number(index);
    }

    HistoryWorld m_world;
    CtlWorld m_ctl{m_world.home()};
    QTemporaryDir m_output;
    bool m_isSpoilt = false;
};

void TestCtlCommands::cleanup()
{
    if (m_isSpoilt) {
        m_world.reset();
        m_ctl = CtlWorld(m_world.home());
        m_isSpoilt = false;
    }
}

void TestCtlCommands::setText(const QString &text, int index) const
{
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QLatin1String("''"));
    m_world.changeRows(QStringLiteral("UPDATE screenshots SET ocr_text = '%1' WHERE video_name = "
                                      "$last AND frame_index_of_video = %2")
                           .arg(quoted)
                           .arg(index));
}

void TestCtlCommands::helpAndVersionGoToTheOutput()
{
    const CtlRun help = m_ctl.run({"--help"});
    QCOMPARE(help.status, 0);
    QVERIFY(help.faults.isEmpty());
    for (const char *command : {"status", "search", "show", "apps", "days", "export", "verify"}) {
        QVERIFY2(help.out.contains(QByteArray("\n  ") + command + ' '), command);
        const CtlRun own = m_ctl.run({command, "--help"});
        QCOMPARE(own.status, 0);
        QVERIFY(own.out.startsWith(QByteArray("Usage: yestermarkctl ") + command));
        QVERIFY(own.out.contains("--json"));
    }
    const CtlRun version = m_ctl.run({"--version"});
    QCOMPARE(version.status, 0);
    QCOMPARE(version.out, QByteArray("yestermarkctl " PROJECT_VERSION "\n"));
}

void TestCtlCommands::wrongUsageEndsWithTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no command") << QStringList();
    QTest::newRow("unknown command") << QStringList{"erase"};
    QTest::newRow("unknown option") << QStringList{"--all", "days"};
    QTest::newRow("unknown option of a command") << QStringList{"days", "--deep"};
    QTest::newRow("no text") << QStringList{"search"};
    QTest::newRow("empty text") << QStringList{"search", ""};
    QTest::newRow("two texts") << QStringList{"search", "a", "b"};
    QTest::newRow("text beyond all patterns") << QStringList{"search", QString(30000, 'x')};
    QTest::newRow("day of no calendar") << QStringList{"days", "--from", "2024-02-30"};
    QTest::newRow("day without zeros") << QStringList{"days", "--to", "2024-2-3"};
    QTest::newRow("hour of no clock") << QStringList{"days", "--to", "2024-02-03T24:00"};
    QTest::newRow("span backwards")
        << QStringList{"days", "--from", "2024-02-03", "--to", "2024-02-02"};
    QTest::newRow("limit of none") << QStringList{"search", "a", "--limit", "0"};
    QTest::newRow("limit in words") << QStringList{"search", "a", "--limit", "ten"};
    QTest::newRow("frame without place") << QStringList{"show", "2024-12-13", "-o", "a.png"};
    QTest::newRow("frame 0") << QStringList{"show", "2024-12-13#0", "-o", "a.png"};
    QTest::newRow("frame of a path")
        << QStringList{"show", "../2024-12-13_10-00-00.mp4#1", "-o", "a.png"};
    QTest::newRow("frame of no video") << QStringList{"show", "holiday.mp4#1", "-o", "a.png"};
    QTest::newRow("show without file") << QStringList{"show", "2024-12-13#1"};
    QTest::newRow("export without directory") << QStringList{"export"};
}

void TestCtlCommands::wrongUsageEndsWithTwo()
{
    QFETCH(QStringList, arguments);
    const CtlRun run = m_ctl.run(arguments);
    QCOMPARE(run.status, 2);
    QVERIFY(run.out.isEmpty());
    QVERIFY(run.faults.startsWith("yestermarkctl: "));
}

void TestCtlCommands::searchFindsTheNewestFirst()
{
    m_isSpoilt = true;
    setText("the cat sat; ", 3);
    setText("a cat, again; ", 7);
    const CtlRun run = m_ctl.run({"search", "cat"});
    const QStringList lines = run.lines().filter(m_world.lastVideo());
    QCOMPARE(run.status, 0);
    const QStringList later = lines.filter(frame(7) + QLatin1String("  "));
    const QStringList earlier = lines.filter(frame(3) + QLatin1String("  "));
    QCOMPARE(later.size(), 1);
    QCOMPARE(earlier.size(), 1);
    QVERIFY(later.first().endsWith("a cat, again;"));
    QVERIFY(earlier.first().endsWith("the cat sat;"));
    QVERIFY(lines.indexOf(later.first()) < lines.indexOf(earlier.first()));
}

void TestCtlCommands::searchTellsAllOfAFrameInJson()
{
    m_isSpoilt = true;
    setText("line one; \nQuartz-7 \"quoted\"; ", 4);
    const CtlRun run = m_ctl.run({"search", "quartz-7", "--json"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.list().size(), 1);
    const QJsonObject found = run.list().first().toObject();
    QCOMPARE(found["frame"].toString(), frame(4));
    QCOMPARE(found["video"].toString(), m_world.lastVideo());
    QCOMPARE(found["index"].toInt(), 4);
    QCOMPARE(found["day"].toString(), m_world.facts().lastDay);
    QCOMPARE(found["text"].toString(), QString("line one; \nQuartz-7 \"quoted\"; "));
    QVERIFY(found["desktopEntry"].toString().endsWith(".desktop"));
    QVERIFY(!found["application"].toString().isEmpty());
    const QDateTime time = QDateTime::fromString(found["time"].toString(), Qt::ISODate);
    QCOMPARE(time.toSecsSinceEpoch(), static_cast<qint64>(found["epoch"].toDouble()));
    QVERIFY(found["numberOfDay"].toInt() > 4);
}

void TestCtlCommands::searchTakesSignsToTheLetter_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("other");
    QTest::newRow("per cent") << "zq100%zq"
                              << "zq100xzq";
    QTest::newRow("underline") << "zq_zq"
                               << "zqazq";
    QTest::newRow("quote") << "zq it's zq"
                           << "zq its zq";
    QTest::newRow("two quotes") << "zq''zq"
                                << "zq'zq";
    QTest::newRow("backslash") << "zq\\zq"
                               << "zqzq";
    QTest::newRow("backslash and per cent") << "zq\\%zq"
                                            << "zq%zq";
    QTest::newRow("statement") << "zq'; DROP TABLE screenshots; --"
                               << "zq; DROP";
    QTest::newRow("chinese") << QString::fromUtf8("预算42%") << QString::fromUtf8("预算42元");
}

void TestCtlCommands::searchTakesSignsToTheLetter()
{
    QFETCH(QString, text);
    QFETCH(QString, other);
    m_isSpoilt = true;
    setText("before " + text + " after", 5);
    setText("before " + other + " after", 6);
    const CtlRun run = m_ctl.run({"--json", "search", text});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.list().size(), 1);
    QCOMPARE(run.list().first().toObject()["frame"].toString(), frame(5));
}

void TestCtlCommands::searchDoesNotMindTheCaseOfLetters()
{
    m_isSpoilt = true;
    setText("The QUARTZ-Seven");
    QCOMPARE(m_ctl.run({"search", "quartz-sevEN", "--json"}).list().size(), 1);
}

void TestCtlCommands::searchKeepsToSpanAppAndLimit()
{
    const QString word = m_world.facts().commonWord;
    const QString day = m_world.facts().firstDay;
    const QJsonArray all = m_ctl.run({"search", word, "--json"}).list();
    const QJsonArray ofDay =
        m_ctl.run({"search", word, "--from", day, "--to", day, "--json"}).list();
    QVERIFY(!ofDay.isEmpty() && ofDay.size() < all.size());
    for (const QJsonValue &found : ofDay) {
        QCOMPARE(found.toObject()["day"].toString(), day);
    }
    const QJsonArray few = m_ctl.run({"search", word, "--limit", "3", "--json"}).list();
    QCOMPARE(few.size(), 3);
    for (int place = 0; place < few.size(); ++place) {
        QCOMPARE(few[place], all[place]);
    }
    const QString entry = all.first().toObject()["desktopEntry"].toString();
    const QString base = entry.section('/', -1).chopped(8);
    const QJsonArray ofApp = m_ctl.run({"search", word, "--app", entry, "--json"}).list();
    QVERIFY(!ofApp.isEmpty() && ofApp.size() < all.size());
    for (const QJsonValue &found : ofApp) {
        QCOMPARE(found.toObject()["desktopEntry"].toString(), entry);
    }
    QCOMPARE(m_ctl.run({"search", word, "--app", base.toUpper(), "--json"}).list(), ofApp);
    const QString second = all.first().toObject()["time"].toString().left(19);
    const QJsonArray ofSecond = m_ctl.run({"search", word, "--from", second, "--json"}).list();
    QCOMPARE(ofSecond.size(), 1);
}

void TestCtlCommands::searchForWhatIsNowhereEndsWithOne()
{
    const CtlRun run = m_ctl.run({"search", m_world.facts().absentWord});
    QCOMPARE(run.status, 1);
    QVERIFY(run.out.isEmpty());
    QVERIFY(run.faults.isEmpty());
    QCOMPARE(m_ctl.run({"search", m_world.facts().absentWord, "--json"}).out, QByteArray("[]\n"));
}

void TestCtlCommands::textThatBeginsWithADashIsSearchedBehindTwo()
{
    m_isSpoilt = true;
    setText("run with --deep and more");
    QCOMPARE(m_ctl.run({"search", "--json", "--", "--deep and"}).list().size(), 1);
}

void TestCtlCommands::textInAnyLocaleIsUtf8()
{
    m_isSpoilt = true;
    setText(QString::fromUtf8("会议纪要，Überblick"));
    for (const char *locale : {"C", "POSIX", "C.UTF-8"}) {
        m_ctl.set("LC_ALL", locale);
        const CtlRun run = m_ctl.run({"search", QString::fromUtf8("纪要，Ü")});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains("会议纪要，Überblick"));
    }
}

void TestCtlCommands::controlCharactersOfATextDoNotReachATerminal()
{
    m_isSpoilt = true;
    setText(QString::fromUtf8("red \x1b[31m alarm\x07 \u202e back\r\nnext"));
    const CtlRun run = m_ctl.run({"search", "alarm"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out.count('\n'), 1);
    for (const char *bad : {"\x1b", "\x07", "\r", "\u202e"}) {
        QVERIFY(!run.out.contains(bad));
    }
}

void TestCtlCommands::daysAreListed()
{
    const CtlRun text = m_ctl.run({"days"});
    QCOMPARE(text.status, 0);
    QCOMPARE(text.lines().size(), 2);
    QVERIFY(text.lines().at(1).startsWith(m_world.facts().lastDay));
    const QJsonArray days = m_ctl.run({"days", "--json"}).list();
    QCOMPARE(days.size(), 2);
    QCOMPARE(days[0].toObject()["day"].toString(), m_world.facts().firstDay);
    QCOMPARE(days[0].toObject()["frames"].toInt(), m_world.facts().framesOfFirstDay);
    QCOMPARE(days[1].toObject()["frames"].toInt(), m_world.framesOfLastDay());
    QCOMPARE(days[0].toObject()["videos"].toInt() + days[1].toObject()["videos"].toInt(), 5);
    const QString last = days[1].toObject()["last"].toString();
    QCOMPARE(QDateTime::fromString(last, Qt::ISODate).toSecsSinceEpoch(), m_world.facts().lastTime);
    QCOMPARE(m_ctl.run({"days", "--from", m_world.facts().lastDay}).lines().size(), 1);
    QCOMPARE(m_ctl.run({"days", "--from", "2025-01-01"}).status, 1);
}

void TestCtlCommands::appsAreListedByFrames()
{
    const CtlRun text = m_ctl.run({"apps"});
    QCOMPARE(text.status, 0);
    const QJsonArray apps = m_ctl.run({"apps", "--json"}).list();
    QCOMPARE(apps.size(), text.lines().size());
    int frames = 0;
    int before = HistoryWorld::rows;
    for (const QJsonValue &app : apps) {
        const int seen = app.toObject()["frames"].toInt();
        QVERIFY(seen <= before);
        before = seen;
        frames += seen;
    }
    QCOMPARE(frames, HistoryWorld::rows);
    QVERIFY(text.lines().first().contains(apps.first().toObject()["desktopEntry"].toString()));
}

void TestCtlCommands::showWritesAFrameByVideoOrDay()
{
    const QString byVideo = m_output.filePath("video.png");
    const QString byDay = m_output.filePath("day.png");
    const CtlRun run = m_ctl.run({"show", frame(20), "-o", byVideo});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.isEmpty());
    const int number = m_world.framesOfLastDay() - HistoryWorld::framesOfLastVideo + 20;
    const QString name = m_world.facts().lastDay + '#' + QString::number(number);
    const CtlRun json = m_ctl.run({"show", name, "-o", byDay, "--json"});
    QCOMPARE(json.status, 0);
    QCOMPARE(json.object()["frame"].toString(), frame(20));
    const QImage picture(byVideo);
    QVERIFY(!picture.isNull());
    QCOMPARE(picture, QImage(byDay));
    QCOMPARE(json.object()["width"].toInt(), picture.width());
    QCOMPARE(QFile::permissions(byVideo) & (QFile::ReadGroup | QFile::ReadOther),
             QFile::Permissions());
    const QString other = m_output.filePath("other.png");
    QCOMPARE(m_ctl.run({"show", frame(21), "-o", other}).status, 0);
    QVERIFY(QImage(other) != picture);
}

void TestCtlCommands::showGivesTheLastFrameOfAVideoItsOwnHeight()
{
    const QString first = m_output.filePath("first.png");
    const QString last = m_output.filePath("last.png");
    QCOMPARE(m_ctl.run({"show", frame(1), "-o", first}).status, 0);
    QCOMPARE(m_ctl.run({"show", frame(HistoryWorld::framesOfLastVideo), "-o", last}).status, 0);
    QCOMPARE(QImage(last).size(), QImage(first).size());
}

void TestCtlCommands::showTakesAFrameOfTheOpenBatchFromItsSafetyCopy()
{
    m_isSpoilt = true;
    QFile::remove(m_world.pathOf(m_world.lastVideo()));
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(qRgb(12, 200, 99));
    QVERIFY(picture.save(m_world.pathOf(m_world.lastVideo()) + "_002.png"));
    const QString file = m_output.filePath("open.png");
    QCOMPARE(m_ctl.run({"show", frame(2), "-o", file}).status, 0);
    QCOMPARE(QImage(file).convertToFormat(QImage::Format_RGB32), picture);
    // Its row is there, its picture is not.
    const CtlRun lost = m_ctl.run({"show", frame(3), "-o", m_output.filePath("lost.png")});
    QCOMPARE(lost.status, 3);
    QVERIFY(!QFile::exists(m_output.filePath("lost.png")));
}

void TestCtlCommands::showOverwritesNothing()
{
    const QString file = m_output.filePath("mine.png");
    m_world.write(file, "mine");
    const CtlRun run = m_ctl.run({"show", frame(1), "-o", file});
    QCOMPARE(run.status, 5);
    QFile mine(file);
    QVERIFY(mine.open(QFile::ReadOnly));
    QCOMPARE(mine.readAll(), QByteArray("mine"));
    const QString inside = m_world.folderOfDay(m_world.facts().lastDay) + "/mine.png";
    QCOMPARE(m_ctl.run({"show", frame(1), "-o", inside}).status, 5);
    QVERIFY(!QFile::exists(inside));
    QCOMPARE(m_ctl.run({"show", frame(1), "-o", m_output.filePath("no/such.png")}).status, 5);
}

void TestCtlCommands::exportWritesVideosAndTexts()
{
    const QString folder = m_output.filePath("export");
    const QString day = m_world.facts().lastDay;
    const CtlRun run = m_ctl.run({"export", "--from", day, "--to", day, "-o", folder, "--json"});
    QCOMPARE(run.status, 0);
    QFile texts(folder + "/frames.jsonl");
    QVERIFY(texts.open(QFile::ReadOnly));
    int frames = 0;
    while (!texts.atEnd()) {
        const QJsonObject frame = QJsonDocument::fromJson(texts.readLine()).object();
        QCOMPARE(frame["day"].toString(), day);
        QVERIFY(!frame["text"].toString().isEmpty());
        QVERIFY(QFile::exists(folder + "/videos/" + frame["video"].toString()));
        ++frames;
    }
    QCOMPARE(frames, m_world.framesOfLastDay());
    QFile summary(folder + "/export.json");
    QVERIFY(summary.open(QFile::ReadOnly));
    QCOMPARE(QJsonDocument::fromJson(summary.readAll()).object(), run.object());
    QCOMPARE(run.object()["version"].toInt(), 1);
    QCOMPARE(run.object()["frames"].toInt(), frames);
    const QStringList videos = QDir(folder + "/videos").entryList(QDir::Files);
    QCOMPARE(run.object()["videos"].toInt(), videos.size());
    for (const QString &video : videos) {
        QFile copy(folder + "/videos/" + video);
        QFile original(m_world.pathOf(video));
        QVERIFY(copy.open(QFile::ReadOnly) && original.open(QFile::ReadOnly));
        QVERIFY(copy.readAll() == original.readAll());
        QCOMPARE(copy.permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    }
    QVERIFY(QDir(folder + "/images").isEmpty());
    const CtlRun none =
        m_ctl.run({"export", "--from", "2031-01-01", "-o", m_output.filePath("none")});
    QCOMPARE(none.status, 1);
    QVERIFY(!QDir(m_output.filePath("none")).exists());
}

void TestCtlCommands::exportTakesImagesOfTheOpenBatch()
{
    m_isSpoilt = true;
    QFile::remove(m_world.pathOf(m_world.lastVideo()));
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(Qt::red);
    for (int index = 1; index < HistoryWorld::framesOfLastVideo; ++index) {
        const QString number = QStringLiteral("_%1.png").arg(index, 3, 10, QLatin1Char('0'));
        QVERIFY(picture.save(m_world.pathOf(m_world.lastVideo()) + number));
    }
    const QString folder = m_output.filePath("open");
    const CtlRun run = m_ctl.run({"export", "-o", folder, "--json"});
    QCOMPARE(run.status, 3); // one frame's picture is lost
    QCOMPARE(run.object()["videos"].toInt(), 4);
    QCOMPARE(run.object()["images"].toInt(), HistoryWorld::framesOfLastVideo - 1);
    QCOMPARE(run.object()["framesWithoutPicture"].toInt(), 1);
    QVERIFY(QFile::exists(folder + "/images/" + m_world.lastVideo() + "_007.png"));
}

void TestCtlCommands::exportOverwritesNothing()
{
    const QString folder = m_output.filePath("full");
    QVERIFY(QDir().mkpath(folder));
    m_world.write(folder + "/.mine");
    const CtlRun run = m_ctl.run({"export", "-o", folder});
    QCOMPARE(run.status, 5);
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList{".mine"});
    QCOMPARE(m_ctl.run({"export", "-o", folder + "/.mine"}).status, 5);
}

void TestCtlCommands::exportDoesNotGoIntoTheHistory()
{
    const QByteArray before = m_ctl.listing();
    for (const QString &place :
         {m_ctl.root() + "/export", m_ctl.root() + "/screenshots/../export"}) {
        QCOMPARE(m_ctl.run({"export", "-o", place}).status, 5);
    }
    QCOMPARE(m_ctl.listing(), before);
}

void TestCtlCommands::verifyTellsThatAllAgree()
{
    const CtlRun run = m_ctl.run({"verify", "--deep"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray("5 videos, 450 rows, 450 vectors, 0 disagreements\n"));
    const QJsonObject object = m_ctl.run({"verify", "--json"}).object();
    QCOMPARE(object["rows"].toInt(), 450);
    QVERIFY(object["disagreements"].isArray() && object["disagreements"].toArray().isEmpty());
}

void TestCtlCommands::verifyTellsDisagreements()
{
    m_isSpoilt = true;
    QFile::remove(m_world.pathOf(m_world.lastVideo()));
    const CtlRun run = m_ctl.run({"verify"});
    QCOMPARE(run.status, 1);
    QVERIFY(run.lines().contains(
        QStringLiteral("row without frame: %1, 0 frames, 0 images").arg(frame(50))));
    const QJsonArray told = m_ctl.run({"verify", "--json"}).object()["disagreements"].toArray();
    QCOMPARE(told.size(), 50);
    QCOMPARE(told.first().toObject()["kind"].toString(), QString("row without frame"));
    QCOMPARE(told.first().toObject()["subject"].toString(), frame(1));
}

void TestCtlCommands::statusTellsSizesAndWhyNothingIsStored()
{
    const CtlRun text = m_ctl.run({"status"});
    QCOMPARE(text.status, 0);
    QVERIFY(text.lines().contains("Recording:  no"));
    QCOMPARE(text.lines().filter("Not stored: ").size(), 1);
    QVERIFY(text.lines().contains("Encrypted:  no"));
    const QJsonObject status = m_ctl.run({"status", "--json"}).object();
    QCOMPARE(status["running"].toBool(true), false);
    QCOMPARE(status["recording"].toBool(true), false);
    QCOMPARE(status["recordingWanted"].toBool(true), false);
    QVERIFY(!status["reason"].toString().isEmpty());
    const QJsonObject last = status["lastFrame"].toObject();
    QCOMPARE(static_cast<qint64>(last["epoch"].toDouble()), m_world.facts().lastTime);
    QVERIFY(last["ageSeconds"].toDouble() > 0);
    const QJsonObject store = status["store"].toObject();
    QCOMPARE(store["folder"].toString(), m_ctl.root());
    QVERIFY(store["frameBytes"].toDouble() > 0);
    QVERIFY(store["rowBytes"].toDouble() > 0);
    QVERIFY(store["vectorBytes"].toDouble() > 0);
    QVERIFY(store["ceilingBytes"].toDouble() >= 5.0 * 1024 * 1024 * 1024);
    QCOMPARE(store["encrypted"].toBool(true), false);
    QVERIFY(status["engines"].toObject()["reading"].isBool());
    QVERIFY(status["desktop"].toObject()["session"].isString());
}

void TestCtlCommands::nothingOfTheHistoryIsChanged()
{
    const QByteArray before = m_ctl.listing();
    QVERIFY(before.contains("vectors.db"));
    const QList<QStringList> runs = {{"status"},
                                     {"search", "the"},
                                     {"search", "--meaning", "the"},
                                     {"show", frame(1), "-o", m_output.filePath("x.png")},
                                     {"apps"},
                                     {"days"},
                                     {"export", "-o", m_output.filePath("all")},
                                     {"verify", "--deep"}};
    for (const QStringList &arguments : runs) {
        QVERIFY2(m_ctl.run(arguments).status >= 0, qPrintable(arguments.first()));
        QCOMPARE(m_ctl.listing(), before);
    }
}

QTEST_MAIN(TestCtlCommands)
#include "ctlcommandstest.moc"
