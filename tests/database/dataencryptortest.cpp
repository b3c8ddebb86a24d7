// The one decision about the encrypted box, with a tool that misbehaves on command, and the free
// functions around passwords. Each decision is made in a process of its own.

#include "database/dataencryptor.h"
#include "capture/privatemember.h"
#include "database/ocrscreenshotdatabase.h"
#include "database/vaultsmclient.h"
#include "platform/vault/double/vaultdouble.h"
#include "platform/vault/privatesystem.h"

#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

// No call of the class names a password file.
struct PasswordFile {
    using Type = std::string DataEncryptor::*;
    friend Type memberOf(PasswordFile);
};
template struct PrivateMember<PasswordFile, &DataEncryptor::m_passwordFilePath>;

struct Password {
    using Type = std::string DataEncryptor::*;
    friend Type memberOf(Password);
};
template struct PrivateMember<Password, &DataEncryptor::m_password>;

namespace
{
bool keepsANewPassword(DataEncryptor &encryptor)
{
    QFile file(QDir::home().filePath(QStringLiteral("password")));
    encryptor.*memberOf(PasswordFile()) = file.fileName().toStdString();
    encryptor.generateAndSavePassword();
    const std::string password = encryptor.*memberOf(Password());
    return password.size() == 8 && file.open(QIODevice::ReadOnly) &&
           file.readAll().toStdString() == reverseByTwo(password);
}

// What a process of its own does, by its second argument; prints "yes" or "no".
int decide(const QStringList &arguments)
{
    VaultDouble::setEnabled(arguments.at(2).toInt());
    DataEncryptor *encryptor = DataEncryptor::getInstance();
    const QString &question = arguments.at(3);
    bool answer = false;
    if (question == QLatin1String("mounted")) {
        answer = encryptor->isSafeDirectoryMounted();
    } else if (question == QLatin1String("supported")) {
        answer = encryptor->isSystemSupportSafeBox();
    } else if (question == QLatin1String("has")) {
        answer = encryptor->hasSafeDirectory("another");
    } else if (question == QLatin1String("create")) {
        answer = encryptor->createSafeDirectory();
    } else if (question == QLatin1String("mount")) {
        answer = encryptor->mountSafeDirectory();
    } else if (question == QLatin1String("umount")) {
        answer = encryptor->umountSafeDirectory();
    } else if (question == QLatin1String("upgrade")) {
        answer = encryptor->upgradeBox();
    } else if (question == QLatin1String("password")) {
        encryptor->generateAndSavePassword();
        answer = encryptor->mountSafeDirectory();
    } else if (question == QLatin1String("password file")) {
        answer = keepsANewPassword(*encryptor);
    } else if (question == QLatin1String("database")) {
        answer = OcrScreenshotDatabase().hasEncryption();
    }
    std::puts(answer ? "yes" : "no");
    return 0;
}
} // namespace

class DataEncryptorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pairsAreSwapped_data();
    void pairsAreSwapped();
    void aPasswordIsDrawnFromTheAlphabet();
    void aPasswordOfNoLengthIsEmpty();
    void aPasswordDiffersFromRunToRun();
    void aPasswordFileHoldsThePasswordAndNothingElse();
    void aPasswordFileThatCannotBeOpenedIsAFailure();
    void withoutTheToolEveryOperationFails();
    void theToolIsRunByTheShellWithoutQuoting();
    void theToolsStatusDecides_data();
    void theToolsStatusDecides();
    void everyOperationIsOneRunOfTheTool_data();
    void everyOperationIsOneRunOfTheTool();
    void withoutSupportTheToolIsNeverRun();
    void aBoxThatIsThereIsNotMade();
    void aBoxThatIsMissingIsMadeWithoutThePassword();
    void aBoxThatCannotBeMadeLeadsToPlainStorage();
    void aFailedUpgradeLeadsToPlainStorageSilently();
    void aMissingToolLeadsToPlainStorage();
    void theToolsNoiseIsNotRead();
    void aToolThatDiesLeadsToPlainStorage();
    void aSlowToolIsWaitedFor();
    void aGeneratedPasswordIsNotPassedOn();
    void aGeneratedPasswordIsKeptWithItsPairsSwapped();
    void monthDatabasesLieWhereTheDecisionPutsThem_data();
    void monthDatabasesLieWhereTheDecisionPutsThem();

private:
    struct Decision {
        QString answer;
        QStringList warnings; ///< what the log says of boxes, each line behind its level
        QStringList runs;     ///< of the tool, with the arguments
    };
    Decision ask(const QString &question, const QByteArray &script, bool isEnabled = true,
                 bool isInstalled = true);
    bool needsNamespace() const { return !PrivateSystem::whyNot().isEmpty(); }

    QTemporaryDir m_home;
};

#define SKIP_WITHOUT_TOOL()                                                                        \
    if (needsNamespace()) {                                                                        \
        QSKIP(qPrintable(PrivateSystem::whyNot()));                                                \
    }

DataEncryptorTest::Decision DataEncryptorTest::ask(const QString &question,
                                                   const QByteArray &script, bool isEnabled,
                                                   bool isInstalled)
{
    const QString home = m_home.filePath(QString::fromLatin1(QTest::currentTestFunction()) +
                                         QString::fromLatin1(QTest::currentDataTag()));
    QDir().mkpath(home);
    const QString log = home + QStringLiteral("/runs");
    QFile scriptFile(home + QStringLiteral("/script"));
    scriptFile.open(QIODevice::WriteOnly);
    scriptFile.write(script);
    scriptFile.close();

    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("VAULTSM_FAKE"), scriptFile.fileName());
    environment.insert(QStringLiteral("VAULTSM_FAKE_LOG"), log);
    environment.insert(QStringLiteral("QT_MESSAGE_PATTERN"), QStringLiteral("%{type}: %{message}"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(home);
    const QStringList arguments{QStringLiteral("--decide"), QString::number(isEnabled ? 1 : 0),
                                question};
    if (isInstalled) {
        process.start(QCoreApplication::applicationFilePath(), arguments);
    } else {
        process.start(QStringLiteral("unshare"),
                      QStringList{QStringLiteral("-m"), QStringLiteral("sh"), QStringLiteral("-c"),
                                  QStringLiteral("umount -l /usr/bin && exec \"$0\" \"$@\""),
                                  QCoreApplication::applicationFilePath()} +
                          arguments);
    }
    process.waitForFinished(60000);

    Decision decision;
    const QStringList printed =
        QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'));
    decision.answer = printed.value(printed.size() - 2);
    const QStringList lines =
        QString::fromUtf8(process.readAllStandardError()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.contains(QLatin1String("safebox"), Qt::CaseInsensitive)) {
            decision.warnings.append(line);
        }
    }
    QFile runs(log);
    if (runs.open(QIODevice::ReadOnly)) {
        decision.runs =
            QString::fromUtf8(runs.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    return decision;
}

void DataEncryptorTest::pairsAreSwapped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("swapped");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("one") << QStringLiteral("a") << QStringLiteral("a");
    QTest::newRow("two") << QStringLiteral("ab") << QStringLiteral("ba");
    QTest::newRow("three") << QStringLiteral("abc") << QStringLiteral("bac");
    QTest::newRow("five") << QStringLiteral("abcde") << QStringLiteral("badce");
    QTest::newRow("six") << QStringLiteral("abcdef") << QStringLiteral("badcfe");
}

void DataEncryptorTest::pairsAreSwapped()
{
    QFETCH(QString, text);
    QFETCH(QString, swapped);
    QCOMPARE(QString::fromStdString(reverseByTwo(text.toStdString())), swapped);
}

void DataEncryptorTest::aPasswordIsDrawnFromTheAlphabet()
{
    const std::string alphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    QCOMPARE(generatePassword(8).size(), std::size_t{8});
    const std::string password = generatePassword(20000);
    QCOMPARE(password.size(), std::size_t{20000});
    QCOMPARE(password.find_first_not_of(alphabet), std::string::npos);
    for (const char character : alphabet) { // the two ends of it too
        QVERIFY2(password.find(character) != std::string::npos, &character);
    }
}

void DataEncryptorTest::aPasswordOfNoLengthIsEmpty()
{
    QCOMPARE(generatePassword(0), std::string());
    QCOMPARE(generatePassword(-1), std::string());
}

void DataEncryptorTest::aPasswordDiffersFromRunToRun()
{
    QVERIFY(generatePassword(8) != generatePassword(8));
}

void DataEncryptorTest::aPasswordFileHoldsThePasswordAndNothingElse()
{
    const QString path = m_home.filePath(QStringLiteral("password"));
    QVERIFY(savePasswordToFile("a longer one than the next", path.toStdString()));
    QVERIFY(savePasswordToFile("badcfe", path.toStdString()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("badcfe"));
}

void DataEncryptorTest::aPasswordFileThatCannotBeOpenedIsAFailure()
{
    QVERIFY(!savePasswordToFile("badcfe", ""));
    QVERIFY(!savePasswordToFile("badcfe", m_home.filePath(QStringLiteral("none/x")).toStdString()));
    QVERIFY(savePasswordToFile("badcfe", "/dev/full")); // only the opening counts
}

void DataEncryptorTest::withoutTheToolEveryOperationFails()
{
    SKIP_WITHOUT_TOOL()
    for (const char *question : {"has", "create", "mount", "umount", "upgrade"}) {
        QCOMPARE(ask(QString::fromLatin1(question), QByteArray(), false, false).answer,
                 QStringLiteral("no"));
        QCOMPARE(ask(QString::fromLatin1(question), QByteArray(), false, true).answer,
                 QStringLiteral("yes"));
    }
}

void DataEncryptorTest::theToolIsRunByTheShellWithoutQuoting()
{
    SKIP_WITHOUT_TOOL()
    const QString log = m_home.filePath(QStringLiteral("shell"));
    qputenv("VAULTSM_FAKE_LOG", QFile::encodeName(log));
    VaultsmClient client;
    QVERIFY(client.isVaultsmInstalled());
    QVERIFY(client.executeCommand({"-i", "two words", "$((6*7))"}));
    QVERIFY(client.executeCommand({}));
    qunsetenv("VAULTSM_FAKE_LOG");
    QFile runs(log);
    QVERIFY(runs.open(QIODevice::ReadOnly));
    QCOMPARE(runs.readAll(), QByteArray("/usr/bin/vaultsm -i two words 42\n/usr/bin/vaultsm\n"));
}

void DataEncryptorTest::theToolsStatusDecides_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("0") << QByteArray("-i ok\n") << true;
    QTest::newRow("1") << QByteArray("-i fail 1\n") << false;
    QTest::newRow("255") << QByteArray("-i fail 255\n") << false;
    QTest::newRow("killed") << QByteArray("-i die\n") << false;
}

void DataEncryptorTest::theToolsStatusDecides()
{
    SKIP_WITHOUT_TOOL()
    QFETCH(QByteArray, script);
    QFETCH(bool, succeeds);
    QCOMPARE(ask(QStringLiteral("has"), script, false).answer,
             succeeds ? QStringLiteral("yes") : QStringLiteral("no"));
}

void DataEncryptorTest::everyOperationIsOneRunOfTheTool_data()
{
    QTest::addColumn<QString>("question");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("runs");
    const QString tool = QStringLiteral("/usr/bin/vaultsm ");
    const QString box = QStringLiteral(" tavel-ai-yestermark");
    const QString asked = tool + QStringLiteral("-i") + box;
    const QString made = tool + QStringLiteral("-c") + box;
    QTest::newRow("another box is asked for") << QStringLiteral("has") << QByteArray()
                                              << QStringList{tool + QStringLiteral("-i another")};
    QTest::newRow("create where it is")
        << QStringLiteral("create") << QByteArray() << QStringList{asked};
    QTest::newRow("create where it is not")
        << QStringLiteral("create") << QByteArray("-i fail 1\n") << QStringList{asked, made};
    QTest::newRow("mount") << QStringLiteral("mount") << QByteArray()
                           << QStringList{asked, tool + QStringLiteral("-m") + box};
    QTest::newRow("mount what cannot be made")
        << QStringLiteral("mount") << QByteArray("-i fail 1\n-c fail 1\n")
        << QStringList{asked, made};
    QTest::newRow("umount") << QStringLiteral("umount") << QByteArray()
                            << QStringList{tool + QStringLiteral("-t") + box};
    QTest::newRow("upgrade") << QStringLiteral("upgrade") << QByteArray()
                             << QStringList{tool + QStringLiteral("--upgrade")};
}

void DataEncryptorTest::everyOperationIsOneRunOfTheTool()
{
    SKIP_WITHOUT_TOOL()
    QFETCH(QString, question);
    QFETCH(QByteArray, script);
    QFETCH(QStringList, runs);
    QCOMPARE(ask(question, script, false).runs, runs); // without support the start runs nothing
}

void DataEncryptorTest::withoutSupportTheToolIsNeverRun()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), QByteArray(), false);
    QCOMPARE(decision.answer, QStringLiteral("no"));
    QCOMPARE(decision.runs, QStringList());
    QCOMPARE(decision.warnings,
             QStringList{QStringLiteral("warning: safebox not supported in this system. running "
                                        "with no encryption.")});
    QCOMPARE(ask(QStringLiteral("supported"), QByteArray(), false).answer, QStringLiteral("no"));
}

void DataEncryptorTest::aBoxThatIsThereIsNotMade()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), QByteArray());
    QCOMPARE(decision.answer, QStringLiteral("yes"));
    QCOMPARE(decision.warnings, QStringList());
    QCOMPARE(decision.runs, (QStringList{QStringLiteral("/usr/bin/vaultsm -i tavel-ai-yestermark"),
                                         QStringLiteral("/usr/bin/vaultsm --upgrade")}));
}

void DataEncryptorTest::aBoxThatIsMissingIsMadeWithoutThePassword()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), "-i fail 1\n");
    QCOMPARE(decision.answer, QStringLiteral("yes"));
    QCOMPARE(decision.warnings, QStringList());
    QCOMPARE(decision.runs, (QStringList{QStringLiteral("/usr/bin/vaultsm -i tavel-ai-yestermark"),
                                         QStringLiteral("/usr/bin/vaultsm -c tavel-ai-yestermark"),
                                         QStringLiteral("/usr/bin/vaultsm --upgrade")}));
}

void DataEncryptorTest::aBoxThatCannotBeMadeLeadsToPlainStorage()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), "-i fail 1\n-c fail 3\n");
    QCOMPARE(decision.answer, QStringLiteral("no"));
    QCOMPARE(decision.warnings, QStringList{QStringLiteral(
                                    "warning: SafeBox failed to create, running without safebox")});
    QCOMPARE(decision.runs.size(), 2); // no upgrade
}

void DataEncryptorTest::aFailedUpgradeLeadsToPlainStorageSilently()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), "--upgrade fail 1\n");
    QCOMPARE(decision.answer, QStringLiteral("no"));
    QCOMPARE(decision.warnings, QStringList());
}

void DataEncryptorTest::aMissingToolLeadsToPlainStorage()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), QByteArray(), true, false);
    QCOMPARE(decision.answer, QStringLiteral("no"));
    QCOMPARE(decision.warnings, QStringList{QStringLiteral(
                                    "warning: SafeBox failed to create, running without safebox")});
}

void DataEncryptorTest::theToolsNoiseIsNotRead()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("mounted"), "-i noisy\n--upgrade noisy\n");
    QCOMPARE(decision.answer, QStringLiteral("yes"));
}

void DataEncryptorTest::aToolThatDiesLeadsToPlainStorage()
{
    SKIP_WITHOUT_TOOL()
    QCOMPARE(ask(QStringLiteral("mounted"), "--upgrade die\n").answer, QStringLiteral("no"));
    QCOMPARE(ask(QStringLiteral("mounted"), "-i die\n-c die\n").answer, QStringLiteral("no"));
}

void DataEncryptorTest::aSlowToolIsWaitedFor()
{
    SKIP_WITHOUT_TOOL()
    QCOMPARE(ask(QStringLiteral("mounted"), "-i slow 300\n--upgrade slow 300\n").answer,
             QStringLiteral("yes"));
}

void DataEncryptorTest::aGeneratedPasswordIsNotPassedOn()
{
    SKIP_WITHOUT_TOOL()
    const Decision decision = ask(QStringLiteral("password"), "-i fail 1\n", false);
    QCOMPARE(decision.answer, QStringLiteral("yes"));
    QCOMPARE(decision.runs,
             (QStringList{QStringLiteral("/usr/bin/vaultsm -i tavel-ai-yestermark"),
                          QStringLiteral("/usr/bin/vaultsm -c tavel-ai-yestermark"),
                          QStringLiteral("/usr/bin/vaultsm -m tavel-ai-yestermark")}));
}

void DataEncryptorTest::aGeneratedPasswordIsKeptWithItsPairsSwapped()
{
    QCOMPARE(ask(QStringLiteral("password file"), QByteArray(), false).answer,
             QStringLiteral("yes"));
}

void DataEncryptorTest::monthDatabasesLieWhereTheDecisionPutsThem_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("otherFolder");
    const QString box = QStringLiteral("/.vault/tavel-ai-yestermark/traditional_database/");
    const QString cache = QStringLiteral("/.cache/tavel-ai-yestermark/traditional_database/");
    QTest::newRow("box") << QByteArray() << box << cache;
    QTest::newRow("no box") << QByteArray("--upgrade fail 1\n") << cache << box;
}

void DataEncryptorTest::monthDatabasesLieWhereTheDecisionPutsThem()
{
    SKIP_WITHOUT_TOOL()
    QFETCH(QByteArray, script);
    QFETCH(QString, folder);
    QFETCH(QString, otherFolder);
    const Decision decision = ask(QStringLiteral("database"), script);
    QCOMPARE(decision.answer, script.isEmpty() ? QStringLiteral("yes") : QStringLiteral("no"));
    const QString home = m_home.filePath(QString::fromLatin1(QTest::currentTestFunction()) +
                                         QString::fromLatin1(QTest::currentDataTag()));
    const QString month = QDate::currentDate().toString(QStringLiteral("yyyy-MM"));
    QVERIFY(QFile::exists(home + folder + month + QStringLiteral(".db")));
    QVERIFY(!QFile::exists(home + otherFolder));
}

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--decide") == 0) {
        const QCoreApplication application(argc, argv);
        return decide(QCoreApplication::arguments());
    }
    PrivateSystem::enter(FAKEVAULTSM);
    QCoreApplication application(argc, argv);
    DataEncryptorTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "dataencryptortest.moc"
