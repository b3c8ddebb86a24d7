// The picture engine with a tiny model of the real one's signature.

#include "coreai/engines/meaning/clippicturemeaning.h"
#include "coreai/engines/meaning/cliptensor.h"
#include "coreai/engines/meaning/meaningloader.h"
#include "coreai/engines/modelfiles.h"
#include "support/logcapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <numeric>

using coreai::ClipPictureMeaning;
using coreai::PictureMeaning;

namespace
{
const QString modelFile = QStringLiteral(TEST_DATA "/tiny-clip.onnx");
const QString tokenizerFile = QStringLiteral(TEST_DATA "/tiny-clip-tokenizer.json");

cv::Mat plain(int width, int height, const cv::Scalar &blueGreenRed)
{
    return {height, width, CV_8UC4, blueGreenRed};
}

double product(const std::vector<float> &a, const std::vector<float> &b)
{
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

/// A model folder that holds the given files under the installed names.
class Folder
{
public:
    bool add(const QString &file, const QString &name)
    {
        return QFile::copy(file, m_folder.filePath(name));
    }
    bool write(const QByteArray &content, const QString &name)
    {
        QFile file(m_folder.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    coreai::ModelFolders folders() const { return coreai::ModelFolders({m_folder.path()}); }

private:
    QTemporaryDir m_folder;
};

std::unique_ptr<PictureMeaning> loadWhole()
{
    Folder folder;
    folder.add(modelFile, coreai::pictureMeaningFile);
    folder.add(tokenizerFile, coreai::pictureTokenizerFile);
    return coreai::loadPictureMeaning(folder.folders());
}
} // namespace

class ClipPictureMeaningTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void givesUnitVectors();
    void findsPicturesByTheirText_data();
    void findsPicturesByTheirText();
    void givesTheSameVectorAgain();
    void givesNothingForWhatIsNoPicture();
    void givesNothingForTextsWithoutWords();
    void seesTheMiddleOfThePicture();
    void bringsColoursToTheTrainedRange();
    void takesPicturesOfAnySize_data();
    void takesPicturesOfAnySize();
    void loaderTakesAnInstalledModel();
    void loaderDoesWithout_data();
    void loaderDoesWithout();

private:
    std::unique_ptr<ClipPictureMeaning> m_engine;
};

void ClipPictureMeaningTest::initTestCase()
{
    QString fault;
    m_engine = ClipPictureMeaning::load(modelFile, tokenizerFile, &fault);
    QVERIFY2(m_engine, qPrintable(fault));
}

void ClipPictureMeaningTest::givesUnitVectors()
{
    const std::vector<float> picture = m_engine->ofPicture(plain(640, 360, {10, 20, 250, 0}));
    const std::vector<float> text = m_engine->ofText("red");
    QCOMPARE(picture.size(), size_t(PictureMeaning::dimensions));
    QCOMPARE(text.size(), size_t(PictureMeaning::dimensions));
    QVERIFY(qAbs(product(picture, picture) - 1) < 1e-5);
    QVERIFY(qAbs(product(text, text) - 1) < 1e-5);
}

void ClipPictureMeaningTest::findsPicturesByTheirText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");

    QTest::newRow("red") << "red" << 0;
    QTest::newRow("green") << "Green" << 1;
    QTest::newRow("blue") << "BLUE" << 2;
}

void ClipPictureMeaningTest::findsPicturesByTheirText()
{
    QFETCH(QString, text);
    const std::vector<float> query = m_engine->ofText(text.toStdString());
    const cv::Scalar colours[] = {{0, 0, 255, 0}, {0, 255, 0, 0}, {255, 0, 0, 0}};
    int best = -1;
    double bestScore = -2;
    for (int i = 0; i < 3; ++i) {
        const double score = product(query, m_engine->ofPicture(plain(300, 300, colours[i])));
        if (score > bestScore) {
            bestScore = score;
            best = i;
        }
    }
    QTEST(best, "expected");
    QVERIFY(bestScore > 0.8);
}

void ClipPictureMeaningTest::givesTheSameVectorAgain()
{
    const cv::Mat picture = plain(500, 400, {200, 20, 90, 0});
    const std::vector<float> first = m_engine->ofPicture(picture);
    const std::vector<float> words = m_engine->ofText("blue green");
    m_engine->ofPicture(plain(50, 40, {1, 2, 3, 0}));
    m_engine->ofText("red");
    QVERIFY(m_engine->ofPicture(picture) == first);
    QVERIFY(m_engine->ofText("blue green") == words);
}

void ClipPictureMeaningTest::givesNothingForWhatIsNoPicture()
{
    QVERIFY(m_engine->ofPicture(cv::Mat()).empty());
    QVERIFY(m_engine->ofPicture(cv::Mat(20, 20, CV_8UC3, cv::Scalar(1, 2, 3))).empty());
}

void ClipPictureMeaningTest::givesNothingForTextsWithoutWords()
{
    QVERIFY(m_engine->ofText("").empty());
    QVERIFY(m_engine->ofText("12:45 !").empty());
}

void ClipPictureMeaningTest::seesTheMiddleOfThePicture()
{
    // Twice as wide as high: the middle half is what the square shows.
    cv::Mat picture = plain(448, 224, {255, 0, 0, 0});
    picture.colRange(112, 336).setTo(cv::Scalar(0, 0, 255, 0));
    QVERIFY(product(m_engine->ofPicture(picture),
                    m_engine->ofPicture(plain(224, 224, {0, 0, 255, 0}))) > 0.9999);
}

void ClipPictureMeaningTest::bringsColoursToTheTrainedRange()
{
    constexpr int area = coreai::clipSide * coreai::clipSide;
    std::vector<float> planes(size_t(3) * area);
    coreai::fillClipTensor(plain(1000, 700, {255, 0, 51, 0}), planes.data());
    // (value / 255 - mean) / deviation of each channel.
    QVERIFY(qAbs(planes[0] - (0.2F - 0.48145466F) / 0.26862954F) < 1e-4F);
    QVERIFY(qAbs(planes[area] - (0.0F - 0.4578275F) / 0.26130258F) < 1e-4F);
    QVERIFY(qAbs(planes[3 * area - 1] - (1.0F - 0.40821073F) / 0.27577711F) < 1e-4F);
}

void ClipPictureMeaningTest::takesPicturesOfAnySize_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");

    QTest::newRow("one pixel") << 1 << 1;
    QTest::newRow("one row") << 3000 << 1;
    QTest::newRow("two screens") << 3840 << 1080;
    QTest::newRow("upright") << 1080 << 1920;
    QTest::newRow("just the side") << 224 << 225;
}

void ClipPictureMeaningTest::takesPicturesOfAnySize()
{
    QFETCH(int, width);
    QFETCH(int, height);
    const std::vector<float> vector = m_engine->ofPicture(plain(width, height, {9, 99, 199, 0}));
    QVERIFY(qAbs(product(vector, vector) - 1) < 1e-5);
}

void ClipPictureMeaningTest::loaderTakesAnInstalledModel()
{
    const LogCapture log;
    QVERIFY(!loadWhole()->ofText("red").empty());
    QVERIFY(!loadWhole()->ofPicture(plain(30, 30, {0, 0, 255, 0})).empty());
    QCOMPARE(log.texts().size(), 1);
}

void ClipPictureMeaningTest::loaderDoesWithout_data()
{
    QTest::addColumn<int>("modelBytes"); // -1 for the whole file, -2 for none
    QTest::addColumn<int>("tokenizerBytes");

    QTest::newRow("nothing installed") << -2 << -2;
    QTest::newRow("no tokenizer") << -1 << -2;
    QTest::newRow("no model") << -2 << -1;
    QTest::newRow("empty model") << 0 << -1;
    QTest::newRow("model cut short") << 3000 << -1;
    QTest::newRow("tokenizer cut short") << -1 << 100;
}

void ClipPictureMeaningTest::loaderDoesWithout()
{
    QFETCH(int, modelBytes);
    QFETCH(int, tokenizerBytes);
    loadWhole();
    Folder folder;
    const auto put = [&folder](const QString &path, const QString &name, int bytes) {
        QFile file(path);
        return bytes == -2 ||
               (file.open(QIODevice::ReadOnly) && folder.write(file.readAll().mid(0, bytes), name));
    };
    QVERIFY(put(modelFile, coreai::pictureMeaningFile, modelBytes));
    QVERIFY(put(tokenizerFile, coreai::pictureTokenizerFile, tokenizerBytes));
    const LogCapture log;
    const auto engine = coreai::loadPictureMeaning(folder.folders());
    coreai::loadPictureMeaning(folder.folders());
    QVERIFY(engine->ofText("red").empty());
    QVERIFY(engine->ofPicture(plain(300, 300, {0, 0, 255, 0})).empty());
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("no picture meaning")));
}

QTEST_GUILESS_MAIN(ClipPictureMeaningTest)
#include "clippicturemeaningtest.moc"
