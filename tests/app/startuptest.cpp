// The steps of the program's start: which translation is looked for, what a signal does to the
// event loop, where commands are found.

#include "app/startup.h"
#include "support/logcapture.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTest>
#include <QTimer>
#include <QTranslator>

#include <csignal>
#include <utility>

namespace
{
bool isTranslationThere = false;
QList<QStringList> askedFor; // name, folder, delimiters, suffix of each
} // namespace

// Stands before the toolkit's own: the files lie in a folder of the system's.
bool QTranslator::load(const QString &filename, const QString &directory,
                       const QString &searchDelimiters, const QString &suffix)
{
    askedFor.append({filename, directory, searchDelimiters, suffix});
    return isTranslationThere;
}

class TestStartup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theTranslationOfTheSystemsLanguageIsLookedFor();
    void aTranslationIsInstalledIfItIsThereOnly_data();
    void aTranslationIsInstalledIfItIsThereOnly();
    void aSignalEndsTheEventLoopWithSuccess_data();
    void aSignalEndsTheEventLoopWithSuccess();
    void ownCommandsAreFoundBehindTheSessions_data();
    void ownCommandsAreFoundBehindTheSessions();
};

namespace
{
/// One that has something to say: an empty one is installed to no effect.
class OneWord : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char * /*context*/, const char *text, const char * /*comment*/,
                      int /*count*/) const override
    {
        return qstrcmp(text, "word") == 0 ? QStringLiteral("Wort") : QString();
    }
};
} // namespace

void TestStartup::init()
{
    askedFor.clear();
    QCoreApplication::setApplicationName(QStringLiteral("tavel-ai-yestermark"));
}

void TestStartup::cleanup()
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_DFL);
    }
}

void TestStartup::theTranslationOfTheSystemsLanguageIsLookedFor()
{
    isTranslationThere = false;
    OneWord translator;
    installTranslation(&translator);
    QCOMPARE(QLocale::system().name(), QStringLiteral("zh_CN"));
    QCOMPARE(askedFor,
             QList<QStringList>({{QStringLiteral("/usr/share/tavel-ai-yestermark/translations/"
                                                 "tavel-ai-yestermark_zh_CN"),
                                  QString(), QString(), QString()}}));
}

void TestStartup::aTranslationIsInstalledIfItIsThereOnly_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<QString>("read");
    QTest::newRow("there") << true << QStringLiteral("Wort");
    QTest::newRow("missing") << false << QStringLiteral("word");
}

void TestStartup::aTranslationIsInstalledIfItIsThereOnly()
{
    QFETCH(bool, isThere);
    QFETCH(QString, read);
    isTranslationThere = isThere;
    OneWord translator;
    const LogCapture log;
    installTranslation(&translator);
    QCOMPARE(QCoreApplication::translate("Any", "word"), read);
    QCOMPARE(log.texts(), QStringList()); // a missing one is no error
}

void TestStartup::aSignalEndsTheEventLoopWithSuccess_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestStartup::aSignalEndsTheEventLoopWithSuccess()
{
    QFETCH(int, number);
    installSignalHandlers();
    const LogCapture log;
    QTimer::singleShot(0, this, [number] { std::raise(number); });
    QTimer::singleShot(30000, this, [] { QCoreApplication::exit(7); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(wasInterrupted());
    QCOMPARE(log.texts(QtDebugMsg),
             QStringList(QStringLiteral("Interrupt signal ( %1 ) received.").arg(number)));
}

void TestStartup::ownCommandsAreFoundBehindTheSessions_data()
{
    QTest::addColumn<QByteArray>("sessions"); // null: unset
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("as it is") << qgetenv("PATH") << qgetenv("PATH") + ':';
    QTest::newRow("empty") << QByteArray("") << QByteArray();
    QTest::newRow("unset") << QByteArray() << QByteArray();
}

void TestStartup::ownCommandsAreFoundBehindTheSessions()
{
    QFETCH(QByteArray, sessions);
    QFETCH(QByteArray, before);
    const QByteArray path = qgetenv("PATH");
    if (sessions.isNull()) {
        qunsetenv("PATH");
    } else {
        qputenv("PATH", sessions);
    }
    makeOwnCommandsKnown();
    const QByteArray known = qgetenv("PATH");
    qputenv("PATH", path);
    QCOMPARE(known, before + QCoreApplication::applicationDirPath().toLocal8Bit());
}

int main(int argc, char **argv)
{
    qputenv("LC_ALL", "zh_CN.UTF-8");
    QCoreApplication application(argc, argv);
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "startuptest.moc"
