// Summaries of pictures from an inference server: what is sent, how answers are read, what happens
// without a server.

#include "ai/multimodel.h"

#include "ai/imageutils.h"
#include "inferenceserver.h"
#include "socketcount.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <curl/curl.h>
#include <dlfcn.h>

namespace
{
const QString OUTER = QStringLiteral("Failed to parse JSON");
const QString INNER = QStringLiteral("Failed to parse nested JSON");
// The text ends in a space, and the stream puts one more behind it.
const QString NOT_PERFORMED = QStringLiteral("curl_easy_perform() failed:  ");
const QString HERE = QStringLiteral("127.0.0.1");

bool refusesHandles = false;

/// The server's answer around the text of a model.
QByteArray answerOf(const QString &response)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("modelResponse"), response}}).toJson();
}
} // namespace

// Stands before the library's own.
extern "C" CURL *curl_easy_init()
{
    using Function = CURL *(*)();
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "curl_easy_init"));
    return refusesHandles ? nullptr : real();
}

class TestMultiModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void aNullImageSendsNoRequest();
    void withoutAnAddressNoSocketIsOpenedAndTheSummaryIsEmpty();
    void theRequestIsOnePostOfFourTexts();
    void theHeadersAreTheLibrarysOwn();
    void withoutAHandleNothingIsAskedAndTheAnswerIsEmpty();
    void theDefaultPortIsAsked();
    void answersAreRead_data();
    void answersAreRead();
    void anUnreachableServerIsToldAndTheSummaryIsEmpty();
    void whatArrivedBeforeAFailureIsGiven();
    void noStateIsKeptBetweenRequests();
    void theMethodEncodesLikeTheFunction();
};

void TestMultiModel::initTestCase()
{
    // The request shall reach the server of the test itself.
    for (const char *name : {"http_proxy", "all_proxy", "ALL_PROXY"}) {
        qunsetenv(name);
    }
}

void TestMultiModel::aNullImageSendsNoRequest()
{
    const InferenceServer server(answerOf(QStringLiteral("{\"imageAbstract\": \"x\"}")));
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    model.setServerPort(QString::number(server.port()));
    const LogCapture log;
    QCOMPARE(model.getImageSemanticInfo(QImage()), QString());
    QCOMPARE(log.texts(), QStringList(QStringLiteral("getImageSemanticInfo image is null")));
    QVERIFY(server.requests().isEmpty());
}

void TestMultiModel::withoutAnAddressNoSocketIsOpenedAndTheSummaryIsEmpty()
{
    const int before = SocketCount::opened();
    MultiModel model(nullptr); // as the program makes it
    const LogCapture log;
    QCOMPARE(model.getImageSemanticInfo(Pictures::numbered(1)), QString());
    QCOMPARE(log.texts(), QStringList(OUTER));
    QCOMPARE(SocketCount::opened(), before);

    // The count would have shown it.
    model.setServerAddress(HERE);
    model.setServerPort(QString::number(InferenceServer::deadPort()));
    const int asked = SocketCount::opened();
    model.getImageSemanticInfo(Pictures::numbered(1));
    QVERIFY(SocketCount::opened() > asked);
}

void TestMultiModel::theRequestIsOnePostOfFourTexts()
{
    const InferenceServer server(answerOf(QStringLiteral("{\"imageAbstract\": \"two\"}")));
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    model.setServerPort(QString::number(server.port()));
    QCOMPARE(model.getImageSemanticInfo(Pictures::numbered(3)), QStringLiteral("two"));

    const QVector<InferenceServer::Request> requests = server.requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().start, QByteArray("POST /minicpm_inference HTTP/1.1"));
    const QJsonObject expected{
        {QStringLiteral("image_base64"), imageToBase64(Pictures::numbered(3))},
        {QStringLiteral("user_query"), QStringLiteral("Generate a summary for this image")},
        {QStringLiteral("scene_name"), QStringLiteral("image_abstract")},
        {QStringLiteral("text_length"), QStringLiteral("200")},
    };
    QCOMPARE(QJsonDocument::fromJson(requests.first().body).object(), expected);
}

void TestMultiModel::theHeadersAreTheLibrarysOwn()
{
    const InferenceServer server("{}");
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    model.setServerPort(QString::number(server.port()));
    model.getImageSemanticInfo(Pictures::numbered(3));
    const InferenceServer::Request request = server.requests().value(0);
    QList<QByteArray> lines = request.head.split('\n');
    for (QByteArray &line : lines) {
        line = line.trimmed();
    }
    QCOMPARE(lines, QList<QByteArray>({"Host: 127.0.0.1:" + QByteArray::number(server.port()),
                                       "Accept: */*",
                                       "Content-Length: " + QByteArray::number(request.body.size()),
                                       "Content-Type: application/x-www-form-urlencoded"}));
}

void TestMultiModel::withoutAHandleNothingIsAskedAndTheAnswerIsEmpty()
{
    const InferenceServer server(answerOf(QStringLiteral("{\"imageAbstract\": \"x\"}")));
    MultiModel model(nullptr);
    const LogCapture log;
    const QString url = QStringLiteral("http://127.0.0.1:%1/any").arg(server.port());
    refusesHandles = true;
    const QString answer = model.postRequest(url, "body");
    refusesHandles = false;
    QCOMPARE(answer, QString());
    QCOMPARE(log.texts(), QStringList());
    QVERIFY(server.requests().isEmpty());
    QVERIFY(!model.postRequest(url, "body").isEmpty());
}

void TestMultiModel::theDefaultPortIsAsked()
{
    const InferenceServer server(answerOf(QStringLiteral("{\"imageAbstract\": \"here\"}")), 57693);
    if (server.port() == 0) {
        QSKIP("another program listens on port 57693");
    }
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    QCOMPARE(model.getImageSemanticInfo(Pictures::numbered(1)), QStringLiteral("here"));
}

void TestMultiModel::answersAreRead_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QStringList>("log");
    const auto model = [](const char *name, const char *response, const char *summary,
                          const QStringList &log = {}) {
        QTest::newRow(name) << answerOf(QString::fromUtf8(response)) << QString::fromUtf8(summary)
                            << log;
    };
    model("an object", R"({"imageAbstract": "two windows"})", "two windows");
    model("chinese", R"({"imageAbstract": "两个窗口"})", "两个窗口");
    model("words around", R"(Sure: {"imageAbstract": "a chat"} Anything else?)", "a chat");
    model("no braces", "a plain answer", "a plain answer", {INNER});
    model("an empty text", "", "", {INNER});
    model("only an opening brace", R"({"imageAbstract": "x")", R"({"imageAbstract": "x")", {INNER});
    model("a closing brace before it", "} then {", "} then {", {INNER});
    model("a nested object", R"({"more": {"a": 1}, "imageAbstract": "x"})",
          R"({"more": {"a": 1}, "imageAbstract": "x"})", {INNER});
    model("two objects", R"({"imageAbstract": "first"} {"imageAbstract": "second"})", "first");
    model("no abstract", R"({"abstract": "x"})", "");
    model("a number", R"({"imageAbstract": 5})", "5");
    model("a list", R"({"imageAbstract": ["x"]})", "");

    const auto server = [](const char *name, const QByteArray &answer, const QStringList &log) {
        QTest::newRow(name) << answer << QString() << log;
    };
    server("nothing", QByteArray(), {OUTER});
    server("no json", "<html></html>", {OUTER});
    server("deeper than can be read", QByteArray(5000, '['), {OUTER});
    server("no response", R"({"error": "busy"})", {INNER});
    server("a response that is no text", R"({"modelResponse": {"imageAbstract": "x"}})", {INNER});
    server("a list for an answer", R"(["modelResponse"])", {INNER});
    server("a number for an answer", "5", {INNER});
}

void TestMultiModel::answersAreRead()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, summary);
    QFETCH(QStringList, log);
    const InferenceServer server(answer);
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    model.setServerPort(QString::number(server.port()));
    const LogCapture logged;
    QCOMPARE(model.getImageSemanticInfo(Pictures::numbered(1)), summary);
    QCOMPARE(logged.texts(), log);
    QCOMPARE(server.requests().size(), 1);
}

void TestMultiModel::anUnreachableServerIsToldAndTheSummaryIsEmpty()
{
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    model.setServerPort(QString::number(InferenceServer::deadPort()));
    const LogCapture log;
    QCOMPARE(model.getImageSemanticInfo(Pictures::numbered(1)), QString());
    // The library's words differ between its releases.
    const QString reason = QString::fromUtf8(curl_easy_strerror(CURLE_COULDNT_CONNECT));
    QCOMPARE(log.texts(), QStringList({NOT_PERFORMED + reason, OUTER}));
}

void TestMultiModel::whatArrivedBeforeAFailureIsGiven()
{
    InferenceServer server("half of 答案");
    server.breakOff(20);
    MultiModel model(nullptr);
    const LogCapture log;
    const QString url = QStringLiteral("http://127.0.0.1:%1/any").arg(server.port());
    QCOMPARE(model.postRequest(url, "body"), QStringLiteral("half of 答案"));
    QCOMPARE(log.texts().size(), 1);
    QVERIFY(log.texts().first().startsWith(NOT_PERFORMED));
    QCOMPARE(server.requests().first().body, QByteArray("body"));
}

void TestMultiModel::noStateIsKeptBetweenRequests()
{
    MultiModel model(nullptr);
    model.setServerAddress(HERE);
    for (const char *text : {"first", "second"}) {
        const InferenceServer server(
            answerOf(QStringLiteral("{\"imageAbstract\": \"%1\"}").arg(QLatin1String(text))));
        model.setServerPort(QString::number(server.port()));
        QCOMPARE(model.getImageSemanticInfo(Pictures::numbered(1)), QLatin1String(text));
    }
}

void TestMultiModel::theMethodEncodesLikeTheFunction()
{
    MultiModel model(nullptr);
    QCOMPARE(model.imageToBase64(Pictures::numbered(1)), imageToBase64(Pictures::numbered(1)));
    QCOMPARE(model.imageToBase64(QImage()), QString());
}

QTEST_GUILESS_MAIN(TestMultiModel)
#include "multimodeltest.moc"
