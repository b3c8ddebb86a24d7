#include "support/pictures.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QPointer>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

/// The composer as its owner runs it: moved to a thread, asked by signal, gone with the thread.
class ComposerThreadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void requestFromAnotherThreadReturnsAtOnceAndEncodesThere();
    void senderMayClearItsBatchAtOnce();
    void requestsAreEncodedOneAfterTheOther();
    void requestFromItsOwnThreadIsEncodedAtOnce();
    void otherFilesMayBeConvertedOnTheCallersThreadMeanwhile();
    void composerGoesWithItsThread();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QThread> m_thread;
    QPointer<VideoComposer> m_composer;
};

void ComposerThreadTest::initTestCase()
{
#ifdef __SANITIZE_THREAD__
    QSKIP("the locks of Qt's event queue are invisible to the thread sanitizer, so every argument "
          "of a queued signal looks like a race");
#endif
}

void ComposerThreadTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    m_thread = std::make_unique<QThread>();
    m_composer = new VideoComposer(nullptr);
    m_composer->moveToThread(m_thread.get());
    connect(m_thread.get(), &QThread::finished, m_composer.data(), &QObject::deleteLater);
}

void ComposerThreadTest::cleanup()
{
    m_thread->start(); // also where a test never did: the composer is deleted on its thread
    m_thread->quit();
    QVERIFY(m_thread->wait());
    m_thread.reset();
}

void ComposerThreadTest::requestFromAnotherThreadReturnsAtOnceAndEncodesThere()
{
    const QString file = path(QStringLiteral("v.mp4"));
    QVERIFY(Pictures::numbered(1).save(file + QStringLiteral("_001.png")));
    // Nothing can happen before the thread runs: the request only waits in its queue.
    Q_EMIT m_composer->requestConvertImagesToVideo(numberedBatch(3), file);
    QCoreApplication::processEvents();
    QVERIFY(!QFile::exists(file));
    m_thread->start(QThread::InheritPriority);
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(file + QStringLiteral("_001.png")), 30000);
    QCOMPARE(VideoFacts::of(file).numbers(), (QVector<int>{1, 2, 3}));
}

void ComposerThreadTest::senderMayClearItsBatchAtOnce()
{
    const QString file = path(QStringLiteral("v.mp4"));
    QVERIFY(Pictures::numbered(1).save(file + QStringLiteral("_001.png")));
    QVector<QImage> images = numberedBatch(3);
    images.reserve(100);
    Q_EMIT m_composer->requestConvertImagesToVideo(images, file);
    images[1].fill(Qt::black);
    images.resize(0);
    images += Pictures::numbered(99);
    m_thread->start();
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(file + QStringLiteral("_001.png")), 30000);
    QCOMPARE(VideoFacts::of(file).numbers(), (QVector<int>{1, 2, 3}));
}

void ComposerThreadTest::requestsAreEncodedOneAfterTheOther()
{
    m_thread->start();
    const QString last = path(QStringLiteral("c.mp4"));
    QVERIFY(Pictures::numbered(1).save(last + QStringLiteral("_001.png")));
    int first = 1;
    for (const char *name : {"a.mp4", "b.mp4", "c.mp4"}) {
        Q_EMIT m_composer->requestConvertImagesToVideo(numberedBatch(numbersFrom(first, first + 4)),
                                                       path(QLatin1String(name)));
        first += 10;
    }
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(last + QStringLiteral("_001.png")), 60000);
    QCOMPARE(VideoFacts::of(path(QStringLiteral("a.mp4"))).numbers(),
             (QVector<int>{1, 2, 3, 4, 5}));
    QCOMPARE(VideoFacts::of(path(QStringLiteral("b.mp4"))).numbers(),
             (QVector<int>{11, 12, 13, 14, 15}));
    QCOMPARE(VideoFacts::of(last).numbers(), (QVector<int>{21, 22, 23, 24, 25}));
}

void ComposerThreadTest::requestFromItsOwnThreadIsEncodedAtOnce()
{
    VideoComposer composer(nullptr);
    const QString file = path(QStringLiteral("v.mp4"));
    Q_EMIT composer.requestConvertImagesToVideo(numberedBatch(2), file);
    QCOMPARE(VideoFacts::of(file).numbers(), (QVector<int>{1, 2}));
}

void ComposerThreadTest::otherFilesMayBeConvertedOnTheCallersThreadMeanwhile()
{
    m_thread->start();
    const QString queued = path(QStringLiteral("queued.mp4"));
    QVERIFY(Pictures::numbered(1).save(queued + QStringLiteral("_001.png")));
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("left")));
    const QString left = path(QStringLiteral("left/v.mp4"));
    QVERIFY(Pictures::numbered(50).save(left + QStringLiteral("_001.png")));
    Q_EMIT m_composer->requestConvertImagesToVideo(numberedBatch(60), queued);
    m_composer->convertLocalImageFilesToVideo(path(QStringLiteral("left")));
    QCOMPARE(VideoFacts::of(left).numbers(), QVector<int>{50});
    QCOMPARE(m_composer->getFrameNumberFromVideo(left), 1U);
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(queued + QStringLiteral("_001.png")), 60000);
    QCOMPARE(VideoFacts::of(queued).declaredFrames, 60);
}

void ComposerThreadTest::composerGoesWithItsThread()
{
    m_thread->start();
    m_thread->quit();
    QVERIFY(m_thread->wait());
    QVERIFY(m_composer.isNull());
}

QTEST_MAIN(ComposerThreadTest)
#include "composerthreadtest.moc"
