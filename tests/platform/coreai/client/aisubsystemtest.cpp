// Whether the runtime counts as installed, by files alone.

#include "coreai/aisubsystem.h"
#include "coreai/engines/modelavailability.h"
#include "coreai/engines/modelfiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

class AiSubsystemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void needsATextEngineAndATextMeaning();
    void answersWithin20Milliseconds();
};

namespace
{
QString userModels()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/tavel-ai-yestermark/models");
}

void put(const QString &name)
{
    QDir().mkpath(userModels());
    QFile file(userModels() + QLatin1Char('/') + name);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write("model");
}
} // namespace

void AiSubsystemTest::needsATextEngineAndATextMeaning()
{
    // The build's own models count as well, and so does the distribution's Tesseract: without the
    // user's files the answer is what these make it.
    const coreai::ModelFolders standard = coreai::ModelFolders::standard();
    QCOMPARE(is_ai_subsystem_inited(),
             coreai::lineRecognizerAvailable(standard) && coreai::textMeaningAvailable(standard));
    if (!coreai::textMeaningAvailable(standard)) {
        QVERIFY(!is_ai_subsystem_inited());
    }
    put(coreai::textMeaningFile);
    put(coreai::lineModelFile);
    QVERIFY(is_ai_subsystem_inited());

    const coreai::ModelFolders none({QStringLiteral("/nowhere")});
    QVERIFY(!coreai::textMeaningAvailable(none));
}

void AiSubsystemTest::answersWithin20Milliseconds()
{
    QElapsedTimer timer;
    qint64 best = 1000;
    for (int round = 0; round < 5; ++round) {
        timer.start();
        is_ai_subsystem_inited();
        best = qMin(best, timer.elapsed());
    }
    QVERIFY2(best < 20, qPrintable(QStringLiteral("%1 ms").arg(best)));
}

QTEST_GUILESS_MAIN(AiSubsystemTest)
#include "aisubsystemtest.moc"
