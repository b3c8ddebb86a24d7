// Whether the runtime counts as installed, by files alone.

#include "coreai/aisubsystem.h"
#include "coreai/engines/modelavailability.h"
#include "coreai/engines/modelfiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class AiSubsystemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void needsATextEngineAndATextMeaning_data();
    void needsATextEngineAndATextMeaning();
    void theUsersModelsAreEnough();
    void answersWithin20Milliseconds();
};

namespace
{
QString userModels()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/tavel-ai-yestermark/models");
}

bool put(const QString &folder, const QString &name)
{
    QFile file(folder + QLatin1Char('/') + name);
    return QDir().mkpath(folder) && file.open(QFile::WriteOnly) && file.write("model") > 0;
}
} // namespace

void AiSubsystemTest::needsATextEngineAndATextMeaning_data()
{
    QTest::addColumn<QStringList>("models");
    QTest::addColumn<QString>("language"); // of the fallback engine
    QTest::addColumn<bool>("inited");
    const QString english = QStringLiteral("eng.traineddata");
    const QString chinese = QStringLiteral("chi_sim.traineddata");
    const QString line = coreai::lineModelFile;
    const QString text = coreai::textMeaningFile;
    QTest::newRow("nothing") << QStringList() << QString() << false;
    QTest::newRow("text engine") << QStringList{line} << QString() << false;
    QTest::newRow("fallback engine") << QStringList() << english << false;
    QTest::newRow("text meaning") << QStringList{text} << QString() << false;
    QTest::newRow("fallback engine, text meaning") << QStringList{text} << english << true;
    QTest::newRow("its other language, text meaning") << QStringList{text} << chinese << true;
    QTest::newRow("other language data, text meaning")
        << QStringList{text} << QStringLiteral("osd.traineddata") << false;
}

void AiSubsystemTest::needsATextEngineAndATextMeaning()
{
    QFETCH(QStringList, models);
    QFETCH(QString, language);
    QFETCH(bool, inited);
    const QTemporaryDir folder;
    const QTemporaryDir tesseract;
    for (const QString &model : models) {
        QVERIFY(put(folder.path(), model));
    }
    if (!language.isEmpty()) {
        QVERIFY(put(tesseract.path(), language));
    }
    const coreai::ModelFolders folders({folder.path()}, tesseract.path());
    QCOMPARE(coreai::aiSubsystemAvailable(folders), inited);
}

void AiSubsystemTest::theUsersModelsAreEnough()
{
    QVERIFY(put(userModels(), coreai::textMeaningFile));
    QVERIFY(put(userModels(), coreai::lineModelFile));
    QVERIFY(is_ai_subsystem_inited());
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
