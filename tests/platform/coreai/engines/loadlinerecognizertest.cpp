// Which engine reads lines when models are there, missing or damaged, and what the log says of it.

#include "coreai/engines/reading/loadlinerecognizer.h"
#include "coreai/engines/modelavailability.h"
#include "coreai/engines/modelfiles.h"
#include "coreai/engines/modelfolders.h"
#include "drawnline.h"
#include "support/logcapture.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

using namespace coreai;

namespace
{
const std::string neural = "PP-OCRv6 small";

bool isTesseract(const LineRecognizer &engine)
{
    return engine.name().rfind("Tesseract", 0) == 0;
}

// What the log says once, whichever engine was told before: the one asked for is told anew.
void forget()
{
    loadLineRecognizer(ModelFolders(QStringList()), LineEngine::None);
}
} // namespace

class LoadLineRecognizerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { forget(); }
    void theModelIsTakenWhereItIs();
    void aMissingModelGivesTesseract();
    void aDamagedModelGivesTesseract_data();
    void aDamagedModelGivesTesseract();
    void withoutAnyEngineNothingIsRead();
    void theEnvironmentIsNotAsked();
    void anEngineIsForced();
    void theLogIsToldOnceWhatWasTaken();
    void availabilityIsToldFromFilesAlone();
};

void LoadLineRecognizerTest::theModelIsTakenWhereItIs()
{
    const ModelFolders models = ModelFolders::standard();
    if (models.find(lineModelFile).isEmpty()) {
        QSKIP("the line model is not there (scripts/setup brings it)");
    }
    LogCapture log;
    QCOMPARE(loadLineRecognizer(models)->name(), neural);
    QCOMPARE(log.texts(), QStringList{QStringLiteral("lines are read by: PP-OCRv6 small")});
}

void LoadLineRecognizerTest::aMissingModelGivesTesseract()
{
    const QTemporaryDir empty;
    LogCapture log;
    const auto engine = loadLineRecognizer(ModelFolders({empty.path()}));
    QVERIFY2(isTesseract(*engine), engine->name().c_str());
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(log.texts().first().startsWith(QStringLiteral("lines are read by: Tesseract")));
}

void LoadLineRecognizerTest::aDamagedModelGivesTesseract_data()
{
    QTest::addColumn<QString>("damage");
    for (const char *damage : {"empty", "short", "garbage", "other model", "folder"}) {
        QTest::newRow(damage) << QString::fromLatin1(damage);
    }
}

void LoadLineRecognizerTest::aDamagedModelGivesTesseract()
{
    QFETCH(QString, damage);
    const QString whole = ModelFolders::standard().find(lineModelFile);
    if (whole.isEmpty()) {
        QSKIP("the line model is not there (scripts/setup brings it)");
    }
    QFile model(whole);
    QVERIFY(model.open(QIODevice::ReadOnly));
    QByteArray content = model.readAll();
    if (damage == QLatin1String("short")) {
        content.truncate(content.size() / 2);
    } else if (damage == QLatin1String("garbage")) {
        content = QByteArray("\x08\x07\xff\x00no model", 12).repeated(1000);
    } else if (damage == QLatin1String("other model")) {
        // A character fewer than the network has classes.
        const int characters = content.indexOf("\n!\n\"\n#\n");
        content.replace(characters < 0 ? content.indexOf("!\n\"\n#\n") : characters, 4, "\n!.\"");
    } else {
        content.clear();
    }
    const QTemporaryDir folder;
    const QString path = folder.filePath(lineModelFile);
    if (damage == QLatin1String("folder")) {
        QVERIFY(QDir().mkpath(path));
    } else {
        QFile damaged(path);
        QVERIFY(damaged.open(QIODevice::WriteOnly) && damaged.write(content) == content.size());
    }
    LogCapture log;
    const auto engine = loadLineRecognizer(ModelFolders({folder.path()}));
    QVERIFY2(isTesseract(*engine), engine->name().c_str());
    QCOMPARE(log.texts().size(), 1);
}

void LoadLineRecognizerTest::withoutAnyEngineNothingIsRead()
{
    const QTemporaryDir empty;
    const ModelFolders models({empty.path()}, empty.path());
    LogCapture log;
    const auto engine = loadLineRecognizer(models);
    const bool available = lineRecognizerAvailable(models);
    QCOMPARE(engine->name(), std::string("none"));
    QVERIFY(!available);
    QVERIFY(!engine->read(bitmapOf(drawn({QStringLiteral("a line")}))).has_value());
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(log.texts().first().startsWith(QStringLiteral("lines are read by: none")));
}

void LoadLineRecognizerTest::theEnvironmentIsNotAsked()
{
    const QTemporaryDir empty;
    const ModelFolders models({empty.path()});
    const QByteArray before = qgetenv("TESSDATA_PREFIX");
    qputenv("TESSDATA_PREFIX", QFile::encodeName(empty.path()));
    const auto engine = loadLineRecognizer(models);
    const bool available = lineRecognizerAvailable(models);
    if (before.isNull()) {
        qunsetenv("TESSDATA_PREFIX");
    } else {
        qputenv("TESSDATA_PREFIX", before);
    }
    QVERIFY2(isTesseract(*engine), engine->name().c_str());
    QVERIFY(available);
}

void LoadLineRecognizerTest::anEngineIsForced()
{
    const ModelFolders models = ModelFolders::standard();
    QVERIFY(isTesseract(*loadLineRecognizer(models, LineEngine::Tesseract)));
    QCOMPARE(loadLineRecognizer(models, LineEngine::None)->name(), std::string("none"));
    const std::string forced = loadLineRecognizer(models, LineEngine::OpenVino)->name();
    QCOMPARE(forced == neural, !models.find(lineModelFile).isEmpty());
}

void LoadLineRecognizerTest::theLogIsToldOnceWhatWasTaken()
{
    LogCapture log;
    const ModelFolders models = ModelFolders::standard();
    for (int load = 0; load < 3; ++load) {
        loadLineRecognizer(models, LineEngine::Tesseract);
    }
    QCOMPARE(log.texts().size(), 1);
}

void LoadLineRecognizerTest::availabilityIsToldFromFilesAlone()
{
    const QTemporaryDir empty;
    QElapsedTimer clock;
    clock.start();
    // The packages of the test machine hold Tesseract and its languages.
    QVERIFY(lineRecognizerAvailable(ModelFolders({empty.path()})));
    QVERIFY2(clock.elapsed() < 20, "an engine was loaded");
}

QTEST_MAIN(LoadLineRecognizerTest)
#include "loadlinerecognizertest.moc"
