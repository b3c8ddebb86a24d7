// The text of a region, from the page's corners to the rows that it draws: what is cut out of which
// picture, what the rows say and when, and giving up.

#include "facade.h"

#include "ai/coreaidouble/coreaidouble.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QTest>
#include <QTimer>

#include <memory>

using CoreAiDouble::Line;
using CoreAiDouble::Reading;
using DataHandlerDouble::state;

namespace
{
constexpr int MODEL_DATA_ROLE = 257;
constexpr int CURRENT_IMAGE = 1;
constexpr int TEXT_HIT = 2;
constexpr int IMAGE_HIT = 3;
const QString ANY_ID = QStringLiteral("videoImageProvider/curShowImg7");
const QString NOT_READY = QStringLiteral("Warning: text recognition session is not initialized");
const QString SAVE_ERROR = QStringLiteral("image save error");

Line line(const QByteArray &text, int left, int top)
{
    return {text, {{left, top}, {left + 100, top}, {left + 100, top + 20}, {left, top + 20}}};
}

Reading readTwoLines(const QByteArray & /*encoded*/)
{
    return {{line("first", 3, 5), line("昨日", 3, 40)}};
}

QImage pictureOf(unsigned int frame)
{
    return Pictures::numbered(static_cast<int>(frame));
}

/// The one picture that the runtime got, as it was before it was encoded.
QImage sentPicture()
{
    const QVector<QByteArray> read = CoreAiDouble::readPictures();
    return read.size() == 1 ? QImage::fromData(read.first()).convertToFormat(QImage::Format_ARGB32)
                            : QImage();
}

bool isReady(VideoReader *reader)
{
    const LogCapture log;
    reader->requestOcrResult(OCRTask());
    return !log.contains(QtWarningMsg, NOT_READY);
}
} // namespace

class TestRegionText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theReaderHasOneSessionOfItsOwnAndDoesNotWaitForIt();
    void theRegionIsCutOffToWholePixels_data();
    void theRegionIsCutOffToWholePixels();
    void aRegionWithoutPixelsIsNoPicture_data();
    void aRegionWithoutPixelsIsNoPicture();
    void theLogTellsThePictureAndTheRectangle();
    void theRowsAreTheLinesWhenTheCallReturns();
    void thePageIsToldWhenTheRowsAreThere();
    void aRegionWithoutTextEmptiesTheRows();
    void aRegionBeforeTheSessionIsReadyEmptiesTheRows();
    void aHitIsFoundByItsSource_data();
    void aHitIsFoundByItsSource();
    void theCurrentImageNeedsNoId();
    void anyOtherPictureIsNull_data();
    void anyOtherPictureIsNull();
    void aPageCancelsWhileItsCallWaits();
    void aCancelWithoutATaskIsAWarning();
    void clearingEmptiesTheRows();
    void noTextEntersTheLog();

private:
    VideoInfo &info() { return m_facade->info; }
    QStringList rows() const;
    /// A page with the picture of frame 9 on show and a session that is ready; false if it does not
    /// come up.
    bool showFrame();
    void recognize(float startX = 0, float startY = 0, float endX = 100, float endY = 50)
    {
        info().recognizingTextInImage(CURRENT_IMAGE, ANY_ID, startX, startY, endX, endY,
                                      QStringLiteral("task"));
    }

    std::unique_ptr<Facade> m_facade;
};

void TestRegionText::init()
{
    CoreAiDouble::reset();
    DataHandlerDouble::reset();
    state().days["2023-03-15"] = {{"/a.desktop", 20}};
    state().draw = [](const DataHandlerDouble::FrameRequest &request) {
        return pictureOf(request.frame);
    };
    state().decode = [](const QString & /*video*/, unsigned int frame) { return pictureOf(frame); };
}

void TestRegionText::cleanup()
{
    CoreAiDouble::releaseStarts();
    CoreAiDouble::releaseAnswers();
    m_facade.reset();
}

QStringList TestRegionText::rows() const
{
    const QAbstractListModel *model = m_facade->info.imageTextModel();
    QStringList texts;
    for (int row = 0; row < model->rowCount(); ++row) {
        const auto *item =
            qvariant_cast<QObject *>(model->data(model->index(row), MODEL_DATA_ROLE));
        texts << QStringLiteral("%1 %2,%3 %4x%5")
                     .arg(item->property("text").toString())
                     .arg(item->property("x").toInt())
                     .arg(item->property("y").toInt())
                     .arg(item->property("textWidth").toInt())
                     .arg(item->property("textHeight").toInt());
    }
    return texts;
}

bool TestRegionText::showFrame()
{
    m_facade = std::make_unique<Facade>();
    info().showCurShowImageItem(0, 8 * 8 + 4, 7);
    return QTest::qWaitFor([this] { return isReady(&m_facade->reader); }, 20000);
}

void TestRegionText::theReaderHasOneSessionOfItsOwnAndDoesNotWaitForIt()
{
    CoreAiDouble::holdStarts();
    m_facade = std::make_unique<Facade>(); // would not return
    QTRY_VERIFY_WITH_TIMEOUT(
        CoreAiDouble::calls().contains(QStringLiteral("text_recognition_init_session")), 20000);
    QCOMPARE(CoreAiDouble::calls().count(QStringLiteral("text_recognition_create_session")), 1);
    CoreAiDouble::releaseStarts();
}

void TestRegionText::theRegionIsCutOffToWholePixels_data()
{
    QTest::addColumn<QRectF>("corners"); // as the page has them: from one to the other
    QTest::addColumn<QRect>("cut");
    QTest::newRow("whole") << QRectF(10, 20, 100, 50) << QRect(10, 20, 100, 50);
    QTest::newRow("all of it") << QRectF(0, 0, 320, 240) << QRect(0, 0, 320, 240);
    QTest::newRow("one pixel") << QRectF(10, 20, 1, 1) << QRect(10, 20, 1, 1);
    QTest::newRow("start and size, not the end")
        << QRectF(10.75, 20.75, 100.5, 50.5) << QRect(10, 20, 100, 50);
    QTest::newRow("almost one more") << QRectF(0.5, 0.5, 9.75, 9.75) << QRect(0, 0, 9, 9);
    // A rectangle of neither width nor height stands for all of the picture.
    QTest::newRow("less than a pixel both ways")
        << QRectF(10, 20, 0.5, 0.5) << QRect(0, 0, 320, 240);
    QTest::newRow("beyond the edge") << QRectF(300, 230, 40, 20) << QRect(300, 230, 40, 20);
}

void TestRegionText::theRegionIsCutOffToWholePixels()
{
    QFETCH(QRectF, corners);
    QFETCH(QRect, cut);
    QVERIFY(showFrame());
    recognize(static_cast<float>(corners.left()), static_cast<float>(corners.top()),
              static_cast<float>(corners.right()), static_cast<float>(corners.bottom()));
    QCOMPARE(sentPicture(), pictureOf(9).copy(cut).convertToFormat(QImage::Format_ARGB32));
}

void TestRegionText::aRegionWithoutPixelsIsNoPicture_data()
{
    QTest::addColumn<QRectF>("corners");
    QTest::newRow("less than a pixel wide") << QRectF(10, 20, 0.5, 5);
    QTest::newRow("less than a pixel high") << QRectF(10, 20, 5, 0.5);
    QTest::newRow("from the right to the left") << QRectF(100, 20, -50, 5);
    QTest::newRow("upward") << QRectF(10, 100, 50, -5);
}

void TestRegionText::aRegionWithoutPixelsIsNoPicture()
{
    QFETCH(QRectF, corners);
    QVERIFY(showFrame());
    const LogCapture log;
    recognize(static_cast<float>(corners.left()), static_cast<float>(corners.top()),
              static_cast<float>(corners.right()), static_cast<float>(corners.bottom()));
    QCOMPARE(log.count(QtDebugMsg, SAVE_ERROR), 1);
    QVERIFY(CoreAiDouble::readPictures().isEmpty());
}

void TestRegionText::theLogTellsThePictureAndTheRectangle()
{
    QVERIFY(showFrame());
    const LogCapture log;
    recognize(10, 20.5, 110, 71);
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList({QStringLiteral("Recognizing text in image 1 \"%1\"").arg(ANY_ID),
                          QStringLiteral("Recognizing text in image 10 20.5 100 50.5")}));
}

void TestRegionText::theRowsAreTheLinesWhenTheCallReturns()
{
    CoreAiDouble::setReader(&readTwoLines);
    QVERIFY(showFrame());
    recognize();
    const QStringList expected{QStringLiteral("first 3,5 100x20"),
                               QStringLiteral("昨日 3,40 100x20")};
    QCOMPARE(rows(), expected);
    recognize(); // replaced, not added to
    QCOMPARE(rows(), expected);
}

void TestRegionText::thePageIsToldWhenTheRowsAreThere()
{
    CoreAiDouble::setReader(&readTwoLines);
    QVERIFY(showFrame());
    QStringList seen;
    connect(&m_facade->reader, &VideoReader::screenshotOCRTextDataReady, this,
            [&seen](const QVector<OCRTextData> &lines) {
                seen << QStringLiteral("%1 lines").arg(lines.size());
            });
    connect(&info(), &VideoInfo::screenshotOCRTextDataReady, this,
            [&seen, this] { seen << QStringLiteral("%1 rows").arg(rows().size()); });
    recognize();
    seen.sort();
    QCOMPARE(seen, QStringList({QStringLiteral("2 lines"), QStringLiteral("2 rows")}));
}

void TestRegionText::aRegionWithoutTextEmptiesTheRows()
{
    CoreAiDouble::setReader(&readTwoLines);
    QVERIFY(showFrame());
    recognize();
    QCOMPARE(rows().size(), 2);
    CoreAiDouble::setReader([](const QByteArray & /*encoded*/) { return Reading(); });
    int told = 0;
    connect(&info(), &VideoInfo::screenshotOCRTextDataReady, this, [&told] { ++told; });
    recognize();
    QVERIFY(rows().isEmpty());
    QCOMPARE(told, 1);
}

void TestRegionText::aRegionBeforeTheSessionIsReadyEmptiesTheRows()
{
    CoreAiDouble::holdStarts();
    m_facade = std::make_unique<Facade>();
    info().showCurShowImageItem(0, 68, 7);
    info().setPreviewImageTextModel({{QStringLiteral("former"), {}}});
    const LogCapture log;
    recognize();
    QVERIFY(rows().isEmpty());
    QCOMPARE(log.texts(QtWarningMsg), QStringList(NOT_READY));
    CoreAiDouble::releaseStarts();
}

void TestRegionText::aHitIsFoundByItsSource_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("model");
    QTest::newRow("text") << TEXT_HIT << QStringLiteral("textMatchResultModel");
    QTest::newRow("image") << IMAGE_HIT << QStringLiteral("imageMatchResultModel");
}

void TestRegionText::aHitIsFoundByItsSource()
{
    QFETCH(int, type);
    QFETCH(QString, model);
    const auto found = [](const SearchQuery & /*query*/) {
        ScreenShotData hit;
        hit.videoName = QStringLiteral("v.mp4");
        hit.frameIndexOfVideo = 5;
        return QVector<ScreenShotData>{hit};
    };
    state().searchTexts = found;
    state().searchPictures = found;
    QVERIFY(showFrame());
    if (type == TEXT_HIT) {
        info().showTextSearchResult(QStringLiteral("word"));
    } else {
        info().showImageSearchResult(QStringLiteral("word"));
    }
    auto *hits = qvariant_cast<QAbstractListModel *>(info().property(model.toUtf8().constData()));
    QTRY_COMPARE_WITH_TIMEOUT(hits->rowCount(), 1, 20000);
    const QString source = qvariant_cast<QObject *>(hits->data(hits->index(0), MODEL_DATA_ROLE))
                               ->property("videoPreviewImageSource")
                               .toString();
    QCOMPARE(info().getOcrImage(type, source), pictureOf(5));
    info().recognizingTextInImage(type, source, 0, 0, 320, 240, QStringLiteral("task"));
    QCOMPARE(sentPicture(), pictureOf(5).convertToFormat(QImage::Format_ARGB32));
}

void TestRegionText::theCurrentImageNeedsNoId()
{
    QVERIFY(showFrame());
    QCOMPARE(info().getOcrImage(CURRENT_IMAGE, QString()), pictureOf(9));
    QCOMPARE(info().getOcrImage(CURRENT_IMAGE, QStringLiteral("videoImageProvider/textsearch1one")),
             pictureOf(9));
}

void TestRegionText::anyOtherPictureIsNull_data()
{
    const QString noText =
        QStringLiteral("Failed to obtain image results for text search:image id not exists !");
    const QString noImage =
        QStringLiteral("Failed to obtain image results for image search:image id not exists !");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QStringList>("warnings");
    QTest::newRow("type 0") << 0 << ANY_ID << QStringList();
    QTest::newRow("type 4") << 4 << ANY_ID << QStringList();
    QTest::newRow("type -1") << -1 << ANY_ID << QStringList();
    QTest::newRow("text hit of no search")
        << TEXT_HIT << "videoImageProvider/textsearch0one" << QStringList(noText);
    QTest::newRow("image hit of no search")
        << IMAGE_HIT << "videoImageProvider/imagesearch0one" << QStringList(noImage);
    QTest::newRow("short id") << TEXT_HIT << "a" << QStringList(noText);
}

void TestRegionText::anyOtherPictureIsNull()
{
    QFETCH(int, type);
    QFETCH(QString, id);
    QVERIFY(showFrame());
    const LogCapture log;
    QVERIFY(info().getOcrImage(type, id).isNull());
    QTEST(log.texts(QtWarningMsg), "warnings");
    info().recognizingTextInImage(type, id, 0, 0, 10, 10, QStringLiteral("task"));
    QCOMPARE(log.count(QtDebugMsg, SAVE_ERROR), 1);
    QVERIFY(CoreAiDouble::readPictures().isEmpty());
}

void TestRegionText::aPageCancelsWhileItsCallWaits()
{
    CoreAiDouble::setReader(&readTwoLines);
    QVERIFY(showFrame());
    CoreAiDouble::holdAnswers();
    int told = 0;
    connect(&info(), &VideoInfo::screenshotOCRTextDataReady, this, [&told] { ++told; });
    QTimer::singleShot(0, this,
                       [this] { info().cancelRecognizeTextInImage(QStringLiteral("task")); });
    const LogCapture log;
    recognize(); // returns though no answer came
    QVERIFY(rows().isEmpty());
    QCOMPARE(told, 1);
    QVERIFY(log.texts(QtWarningMsg).isEmpty());

    // The answer of the next region is not taken for the one of the cancelled one.
    CoreAiDouble::releaseAnswers();
    recognize();
    QCOMPARE(rows().size(), 2);
    QCOMPARE(told, 2);
    QCOMPARE(CoreAiDouble::readPictures().size(), 2);
}

void TestRegionText::aCancelWithoutATaskIsAWarning()
{
    m_facade = std::make_unique<Facade>();
    const LogCapture log;
    info().cancelRecognizeTextInImage(QStringLiteral("task"));
    QCOMPARE(log.texts(QtWarningMsg), QStringList(QStringLiteral("No task to cancel")));
}

void TestRegionText::clearingEmptiesTheRows()
{
    CoreAiDouble::setReader(&readTwoLines);
    QVERIFY(showFrame());
    recognize();
    QCOMPARE(rows().size(), 2);
    info().clearRecognizingTextResult();
    QVERIFY(rows().isEmpty());
    info().clearRecognizingTextResult();
    QVERIFY(rows().isEmpty());
}

void TestRegionText::noTextEntersTheLog()
{
    CoreAiDouble::setReader(&readTwoLines);
    QVERIFY(showFrame());
    const LogCapture log;
    recognize();
    QCOMPARE(rows().size(), 2);
    QVERIFY(!log.texts().isEmpty());
    QVERIFY(!log.texts().join('\n').contains(QStringLiteral("昨日")));
    QVERIFY(!log.texts().join('\n').contains(QStringLiteral("first")));
}

QTEST_MAIN(TestRegionText)
#include "regiontexttest.moc"
