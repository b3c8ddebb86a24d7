// The list of models: what is understood, what is refused, and that the list of this build fits
// what the engines look for.

#include "controlcenter/modelpackage.h"
#include "coreai/engines/modelfiles.h"
#include "coreai/engines/modelfolders.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTest>

namespace
{
const QString SUM(64, QLatin1Char('a'));

QString line(const QString &pattern)
{
    return QString(pattern).replace(QLatin1String("SUM"), SUM);
}
} // namespace

class ModelListTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listIsRead();
    void listWithAMistakeIsRefused_data();
    void listWithAMistakeIsRefused();
    void listOfThisBuildNamesEveryModel();
    void modelsOfTheUserAreFound();
};

void ModelListTest::listIsRead()
{
    QString problem;
    const QVector<ModelPackage> packages = parseModelList(
        line(QStringLiteral("# comment\n\n"
                            "pip wheel 1.2 w.whl 123 SUM MIT needed a/b.onnx b.onnx -\n"
                            "url  net  9  n.bin  -  SUM  Apache-2.0  optional  -  n.bin  "
                            "file:///x/n.bin\n")),
        &problem);
    QCOMPARE(problem, QString());
    QCOMPARE(packages.size(), 2);
    QCOMPARE(packages[0].registry, QStringLiteral("pip"));
    QCOMPARE(packages[0].name, QStringLiteral("wheel"));
    QCOMPARE(packages[0].version, QStringLiteral("1.2"));
    QCOMPARE(packages[0].file, QStringLiteral("w.whl"));
    QCOMPARE(packages[0].size, qint64(123));
    QCOMPARE(packages[0].sha256, SUM.toLatin1());
    QVERIFY(!packages[0].optional);
    QCOMPARE(packages[0].member, QStringLiteral("a/b.onnx"));
    QCOMPARE(packages[0].model, QStringLiteral("b.onnx"));
    QCOMPARE(packages[0].address, QString());
    QCOMPARE(packages[1].size, qint64(-1));
    QVERIFY(packages[1].optional);
    QCOMPARE(packages[1].member, QString());
    QCOMPARE(packages[1].address, QStringLiteral("file:///x/n.bin"));
}

void ModelListTest::listWithAMistakeIsRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("only a comment") << "# nothing\n";
    QTest::newRow("too short") << "pip w 1 w.whl 1 SUM MIT needed m m.onnx\n";
    QTest::newRow("size is no number") << "pip w 1 w.whl big SUM MIT needed m m.onnx -\n";
    QTest::newRow("sum too short") << "pip w 1 w.whl 1 abc MIT needed m m.onnx -\n";
    QTest::newRow("neither needed nor optional") << "pip w 1 w.whl 1 SUM MIT maybe m m.onnx -\n";
    QTest::newRow("address missing") << "url w 1 w.bin 1 SUM MIT needed - m.onnx -\n";
    QTest::newRow("file with a path") << "pip w 1 ../w.whl 1 SUM MIT needed m m.onnx -\n";
    QTest::newRow("model with a path") << "pip w 1 w.whl 1 SUM MIT needed m a/m.onnx -\n";
    QTest::newRow("hidden model") << "pip w 1 w.whl 1 SUM MIT needed m .. -\n";
    QTest::newRow("mistake behind a good line")
        << "pip w 1 w.whl 1 SUM MIT needed m m.onnx -\nnonsense\n";
}

void ModelListTest::listWithAMistakeIsRefused()
{
    QFETCH(QString, text);
    QString problem;
    QVERIFY(parseModelList(line(text), &problem).isEmpty());
    QVERIFY(!problem.isEmpty());
}

void ModelListTest::listOfThisBuildNamesEveryModel()
{
    QFile file(QStringLiteral(MODEL_LIST));
    QVERIFY(file.open(QFile::ReadOnly));
    QString problem;
    const QVector<ModelPackage> packages =
        parseModelList(QString::fromUtf8(file.readAll()), &problem);
    QCOMPARE(problem, QString());
    QSet<QString> needed;
    QSet<QString> optional;
    for (const ModelPackage &package : packages) {
        (package.optional ? optional : needed).insert(package.model);
    }
    QCOMPARE(needed, (QSet<QString>{coreai::lineModelFile, coreai::textMeaningFile}));
    QCOMPARE(optional, (QSet<QString>{coreai::pictureMeaningFile, coreai::pictureTokenizerFile}));
}

void ModelListTest::modelsOfTheUserAreFound()
{
    QVERIFY(coreai::ModelFolders::standard().folders().contains(userModelFolder()));
    ModelPackage package;
    package.model = QStringLiteral("of-the-user.onnx");
    QCOMPARE(missingModels({package}).size(), 1);
    QVERIFY(QDir().mkpath(userModelFolder()));
    QFile model(userModelFolder() + QStringLiteral("/of-the-user.onnx"));
    QVERIFY(model.open(QFile::WriteOnly));
    QCOMPARE(missingModels({package}).size(), 0);
}

QTEST_GUILESS_MAIN(ModelListTest)
#include "modellisttest.moc"
