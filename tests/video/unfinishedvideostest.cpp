// What is remembered of videos on their way into their files, and what was erased of them
// meanwhile.

#include "video/unfinishedvideos.h"

#include <QTest>

namespace
{
const QString VIDEO = QStringLiteral("/root/2024-03/2024-03-15/a.mp4");
const QString DAY = QStringLiteral("/root/2024-03/2024-03-15");
} // namespace

class UnfinishedVideosTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsNotedOfAVideoThatIsNotOnItsWay();
    void theFewestFramesThatWereToStayCount_data();
    void theFewestFramesThatWereToStayCount();
    void whatIsErasedIsToldOnceBeforeTheWayEnds();
    void aVideoThatWaitsTwiceIsOnItsWayUntilBothHaveEnded();
    void aDirectoryErasesItsOwnVideosOnly_data();
    void aDirectoryErasesItsOwnVideosOnly();

private:
    UnfinishedVideos m_videos;
};

void UnfinishedVideosTest::nothingIsNotedOfAVideoThatIsNotOnItsWay()
{
    QVERIFY(!m_videos.limit(VIDEO, 3));
    m_videos.eraseBelow(DAY);
    QVERIFY(!m_videos.limitOf(VIDEO));
    QVERIFY(!m_videos.end(VIDEO));
    m_videos.begin(VIDEO);
    QVERIFY(!m_videos.limitOf(VIDEO));
    QVERIFY(!m_videos.end(VIDEO));
}

void UnfinishedVideosTest::theFewestFramesThatWereToStayCount_data()
{
    QTest::addColumn<unsigned int>("first");
    QTest::addColumn<unsigned int>("second");
    QTest::addColumn<unsigned int>("stay");
    QTest::newRow("fewer") << 7U << 3U << 3U;
    QTest::newRow("more") << 3U << 7U << 3U;
    QTest::newRow("nothing, then some") << 0U << 7U << 0U;
}

void UnfinishedVideosTest::theFewestFramesThatWereToStayCount()
{
    QFETCH(unsigned int, first);
    QFETCH(unsigned int, second);
    m_videos.begin(VIDEO);
    QVERIFY(m_videos.limit(VIDEO, first));
    QVERIFY(m_videos.limit(VIDEO, second));
    QTEST(m_videos.limitOf(VIDEO).value_or(99), "stay");
    QTEST(m_videos.end(VIDEO).value_or(99), "stay");
    QVERIFY(!m_videos.end(VIDEO));
}

void UnfinishedVideosTest::whatIsErasedIsToldOnceBeforeTheWayEnds()
{
    m_videos.begin(VIDEO);
    m_videos.limit(VIDEO, 3);
    QCOMPARE(m_videos.end(VIDEO).value_or(99), 3U);
    QVERIFY(m_videos.limit(VIDEO, 2)); // while the file is being cut
    QCOMPARE(m_videos.end(VIDEO).value_or(99), 2U);
    QVERIFY(!m_videos.end(VIDEO));
    QVERIFY(!m_videos.limit(VIDEO, 1));
}

void UnfinishedVideosTest::aVideoThatWaitsTwiceIsOnItsWayUntilBothHaveEnded()
{
    m_videos.begin(VIDEO);
    m_videos.begin(VIDEO);
    QVERIFY(!m_videos.end(VIDEO));
    QVERIFY(m_videos.limit(VIDEO, 1));
    QCOMPARE(m_videos.end(VIDEO).value_or(99), 1U);
    QVERIFY(!m_videos.end(VIDEO));
    QVERIFY(!m_videos.limit(VIDEO, 1));
}

void UnfinishedVideosTest::aDirectoryErasesItsOwnVideosOnly_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<bool>("isErased");
    QTest::newRow("its own") << DAY << true;
    QTest::newRow("the root") << QStringLiteral("/root") << true;
    QTest::newRow("another day") << QStringLiteral("/root/2024-03/2024-03-14") << false;
    QTest::newRow("the beginning of its name")
        << QStringLiteral("/root/2024-03/2024-03-1") << false;
}

void UnfinishedVideosTest::aDirectoryErasesItsOwnVideosOnly()
{
    QFETCH(QString, directory);
    QFETCH(bool, isErased);
    m_videos.begin(VIDEO);
    m_videos.eraseBelow(directory);
    QCOMPARE(m_videos.limitOf(VIDEO).has_value(), isErased);
    QCOMPARE(m_videos.end(VIDEO).value_or(99), isErased ? 0U : 99U);
    m_videos.end(VIDEO);
}

QTEST_APPLESS_MAIN(UnfinishedVideosTest)
#include "unfinishedvideostest.moc"
