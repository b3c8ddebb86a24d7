// Summaries on the worker thread: order, callback, what a null image and a missing callback do.

#include "ai/imagesemanticmodule.h"

#include "ai/multimodel.h"
#include "inferenceserver.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QMutex>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <functional>

namespace
{
const QByteArray ANSWER = "{\"modelResponse\": \"{\\\"imageAbstract\\\": \\\"a window\\\"}\"}";

void ask(ImageSemanticModule *module, const InferenceServer &server)
{
    auto *model = module->findChild<MultiModel *>();
    model->setServerAddress(QStringLiteral("127.0.0.1"));
    model->setServerPort(QString::number(server.port()));
}
} // namespace

class TestImageSemanticModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void theSummaryGoesToTheCallbackAndTheTimeToTheLog();
    void aNullImageIsIgnored();
    void aMissingCallbackIsAnException();
    void aRequestFromAnotherThreadWaitsForTheWorker();
    void aFailureIsAnEmptySummary();
};

void TestImageSemanticModule::initTestCase()
{
    for (const char *name : {"http_proxy", "all_proxy", "ALL_PROXY"}) {
        qunsetenv(name);
    }
}

void TestImageSemanticModule::theSummaryGoesToTheCallbackAndTheTimeToTheLog()
{
    const InferenceServer server(ANSWER);
    ImageSemanticModule module(nullptr);
    ask(&module, server);
    QStringList summaries;
    module.setResultCallback([&summaries](const QString &summary) { summaries << summary; });
    const LogCapture log;
    Q_EMIT module.requestImageSemanticDataAsync(Pictures::numbered(1));
    QCOMPARE(summaries, QStringList(QStringLiteral("a window")));
    QCOMPARE(log.texts(QtDebugMsg).size(), 1);
    const QRegularExpression line(QStringLiteral("^Multimodel Elapsed time:  \\d+ ms$"));
    QVERIFY2(line.match(log.texts().first()).hasMatch(), qPrintable(log.texts().first()));
}

void TestImageSemanticModule::aNullImageIsIgnored()
{
    const InferenceServer server(ANSWER);
    ImageSemanticModule module(nullptr); // without a callback, which is therefore not called
    ask(&module, server);
    const LogCapture log;
    module.imageSemanticSlot(QImage());
    QVERIFY(log.texts().isEmpty());
    QVERIFY(server.requests().isEmpty());
}

void TestImageSemanticModule::aMissingCallbackIsAnException()
{
    ImageSemanticModule module(nullptr);
    QVERIFY_EXCEPTION_THROWN(module.imageSemanticSlot(Pictures::numbered(1)),
                             std::bad_function_call);
}

void TestImageSemanticModule::aRequestFromAnotherThreadWaitsForTheWorker()
{
    const InferenceServer server(ANSWER);
    QThread worker;
    auto *module = new ImageSemanticModule(nullptr);
    ask(module, server);
    QMutex mutex;
    QVector<QThread *> threads;
    module->setResultCallback([&](const QString & /*summary*/) {
        const QMutexLocker lock(&mutex);
        threads.append(QThread::currentThread());
    });
    connect(&worker, &QThread::finished, module, &QObject::deleteLater);
    module->moveToThread(&worker);
    for (int number = 1; number <= 3; ++number) {
        Q_EMIT module->requestImageSemanticDataAsync(Pictures::numbered(number));
    }
    QVERIFY(server.requests().isEmpty()); // the worker does not run yet
    worker.start();
    const auto count = [&] {
        const QMutexLocker lock(&mutex);
        return threads.size();
    };
    QTRY_COMPARE(count(), 3);
    QCOMPARE(threads, QVector<QThread *>(3, &worker));
    worker.quit();
    QVERIFY(worker.wait(5000));
}

void TestImageSemanticModule::aFailureIsAnEmptySummary()
{
    ImageSemanticModule module(nullptr); // without a server
    QStringList summaries;
    module.setResultCallback([&summaries](const QString &summary) { summaries << summary; });
    module.imageSemanticSlot(Pictures::numbered(1));
    QCOMPARE(summaries, QStringList(QString()));
}

QTEST_GUILESS_MAIN(TestImageSemanticModule)
#include "imagesemanticmoduletest.moc"
