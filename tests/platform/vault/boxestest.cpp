// What a box needs, where it misbehaves: fakes of the encryption and of the keys' store.

#include "vault/boxes/boxes.h"
#include "vault/encryption/childprocess.h"
#include "vault/encryption/nullbackend.h"
#include "vault/keys/nullkeystore.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <fstream>
#include <map>
#include <memory>

using Vault::BoxPlaces;
using Vault::Outcome;
using Vault::SecretKey;

namespace
{
const std::string box = "box";

/// Keeps keys in memory; each operation can be told to fail.
class FakeKeyStore : public Vault::KeyStore
{
public:
    Outcome unlock() override { return answer("unlock"); }
    Outcome find(const std::string &name, std::optional<SecretKey> &key) override
    {
        const auto kept = keys.find(name);
        key = kept == keys.end() ? std::nullopt : SecretKey::fromText(kept->second);
        return answer("find");
    }
    Outcome keep(const std::string &name, const SecretKey &key) override
    {
        if (!forgets) {
            keys[name] = changes ? std::string(64, '0') : std::string(key.text());
        }
        return answer("keep");
    }
    Outcome forget(const std::string &name) override
    {
        keys.erase(name);
        return answer("forget");
    }

    std::map<std::string, std::string> keys;
    std::string failing;
    bool forgets = false;
    bool changes = false;

private:
    Outcome answer(const std::string &operation) const
    {
        return operation == failing ? Outcome::failure("no " + operation) : Outcome::success();
    }
};

class FakeBackend : public Vault::BoxBackend
{
public:
    Outcome isUsable() const override { return Outcome::success(); }
    Outcome initialise(const std::filesystem::path &cipher, const SecretKey & /*key*/) override
    {
        std::ofstream(cipher / "half") << "half";
        return isFailing ? Outcome::failure("no room") : Outcome::success();
    }
    Outcome isIntact(const std::filesystem::path & /*cipher*/) const override
    {
        return Outcome::success();
    }
    Outcome mount(const std::filesystem::path & /*cipher*/,
                  const std::filesystem::path & /*mountPoint*/, const SecretKey & /*key*/) override
    {
        return Outcome::success();
    }
    Outcome unmount(const std::filesystem::path & /*mountPoint*/, bool /*isDead*/) override
    {
        return Outcome::success();
    }

    bool isFailing = false;
};
} // namespace

class BoxesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aRefusedKeyMakesNoBox_data();
    void aRefusedKeyMakesNoBox();
    void aStoreThatLosesTheKeyMakesNoBox();
    void aStoreThatChangesTheKeyMakesNoBox();
    void aBoxThatCannotGrowLeavesNothing();
    void aKeyThatWasThereOutlivesABoxThatCannotGrow();
    void whatAKilledRunLeftIsReplaced();
    void missingPartsAreNamed();
    void keysAreRandomAndOfOneForm();
    void aProgramThatFailsIsQuoted();
    void aProgramThatIsMissingIsNamed();
    void whatAProgramLeavesRunningIsNotWaitedFor();

private:
    QStringList entries() const
    {
        return QDir(QString::fromStdString(m_places.dataDirectory.string()))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> m_home;
    BoxPlaces m_places;
    std::unique_ptr<FakeKeyStore> m_keys;
    std::unique_ptr<FakeBackend> m_backend;
};

void BoxesTest::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    m_places = {m_home->filePath(QStringLiteral("data/vaultsm")).toStdString(),
                m_home->filePath(QStringLiteral(".vault")).toStdString()};
    m_keys = std::make_unique<FakeKeyStore>();
    m_backend = std::make_unique<FakeBackend>();
}

void BoxesTest::aRefusedKeyMakesNoBox_data()
{
    QTest::addColumn<QString>("operation");
    for (const char *operation : {"unlock", "find", "keep"}) {
        QTest::newRow(operation) << QString::fromLatin1(operation);
    }
}

void BoxesTest::aRefusedKeyMakesNoBox()
{
    QFETCH(QString, operation);
    m_keys->failing = operation.toStdString();
    Vault::Boxes boxes(m_places, *m_backend, *m_keys);
    const Outcome made = boxes.create(box);
    QVERIFY(!made);
    QCOMPARE(made.reason(), "no " + m_keys->failing);
    QVERIFY(!QDir(QString::fromStdString(m_places.dataDirectory.string())).exists());
}

void BoxesTest::aStoreThatLosesTheKeyMakesNoBox()
{
    m_keys->forgets = true;
    Vault::Boxes boxes(m_places, *m_backend, *m_keys);
    const Outcome made = boxes.create(box);
    QCOMPARE(made.reason(), std::string("the Secret Service does not give back the key of the box "
                                        "box"));
    QVERIFY(!boxes.exists(box));
}

void BoxesTest::aStoreThatChangesTheKeyMakesNoBox()
{
    m_keys->changes = true;
    Vault::Boxes boxes(m_places, *m_backend, *m_keys);
    QVERIFY(!boxes.create(box));
    QVERIFY(!boxes.exists(box));
}

void BoxesTest::aBoxThatCannotGrowLeavesNothing()
{
    m_backend->isFailing = true;
    Vault::Boxes boxes(m_places, *m_backend, *m_keys);
    QCOMPARE(boxes.create(box).reason(), std::string("no room"));
    QVERIFY(m_keys->keys.empty());
    QVERIFY(!QDir(QString::fromStdString(m_places.dataDirectory.string())).exists());
}

void BoxesTest::aKeyThatWasThereOutlivesABoxThatCannotGrow()
{
    const std::string key(64, 'a');
    m_keys->keys[box] = key;
    m_backend->isFailing = true;
    Vault::Boxes boxes(m_places, *m_backend, *m_keys);
    QVERIFY(!boxes.create(box));
    QCOMPARE(m_keys->keys[box], key);
}

void BoxesTest::whatAKilledRunLeftIsReplaced()
{
    std::filesystem::create_directories(m_places.unfinished(box) / "folder");
    std::ofstream(m_places.unfinished(box) / "file") << "of a killed run";
    Vault::Boxes boxes(m_places, *m_backend, *m_keys);
    QVERIFY(boxes.create(box));
    QCOMPARE(entries(), (QStringList{QStringLiteral(".lock"), QStringLiteral("box")}));
    QVERIFY(!std::filesystem::exists(m_places.cipher(box) / "file"));
    QVERIFY(std::filesystem::exists(m_places.cipher(box) / "half"));
}

void BoxesTest::missingPartsAreNamed()
{
    Vault::NullBackend backend("no encryption here");
    Vault::NullKeyStore keys("no keys here");
    Vault::Boxes withoutBackend(m_places, backend, *m_keys);
    Vault::Boxes withoutKeys(m_places, *m_backend, keys);
    QCOMPARE(withoutBackend.create(box).reason(), std::string("no encryption here"));
    QCOMPARE(withoutKeys.create(box).reason(), std::string("no keys here"));
    QVERIFY(!QDir(QString::fromStdString(m_places.dataDirectory.string())).exists());

    std::filesystem::create_directories(m_places.cipher(box));
    QCOMPARE(withoutBackend.mount(box).reason(), std::string("no encryption here"));
    QCOMPARE(withoutKeys.upgrade().reason(), std::string("no keys here"));
    QVERIFY(!std::filesystem::exists(m_places.mountPoint(box)));
}

void BoxesTest::keysAreRandomAndOfOneForm()
{
    const std::optional<SecretKey> one = SecretKey::random();
    const std::optional<SecretKey> other = SecretKey::random();
    QVERIFY(one && other);
    QCOMPARE(one->text().size(), std::size_t{64});
    QVERIFY(!(*one == *other));
    const std::optional<SecretKey> same = SecretKey::fromText(one->text());
    QVERIFY(same && *same == *one);
    QVERIFY(!SecretKey::fromText(std::string(63, 'a')));
    QVERIFY(!SecretKey::fromText(std::string(65, 'a')));
    QVERIFY(!SecretKey::fromText(std::string(64, 'g')));
}

void BoxesTest::aProgramThatFailsIsQuoted()
{
    const Outcome failed = Vault::ChildProcess::run(
        {"sh", "-c", "read -r line; echo \"got $line\" >&2; echo more; exit 3"}, "input\n");
    QCOMPARE(failed.reason(), std::string("sh failed: got input more"));
    QVERIFY(Vault::ChildProcess::run({"sh", "-c", "exit 0"}, {}));
    QVERIFY(!Vault::ChildProcess::run({"sh", "-c", "kill -9 $$"}, {}));
}

void BoxesTest::aProgramThatIsMissingIsNamed()
{
    QVERIFY(!Vault::ChildProcess::isInstalled("no-such-program"));
    QVERIFY(Vault::ChildProcess::isInstalled("sh"));
    QCOMPARE(Vault::ChildProcess::run({"no-such-program"}, {}).reason(),
             std::string("no-such-program cannot be run: No such file or directory"));
}

void BoxesTest::whatAProgramLeavesRunningIsNotWaitedFor()
{
    QTemporaryDir folder;
    const std::string alive = folder.filePath(QStringLiteral("alive")).toStdString();
    // The one left behind ends as soon as its file goes.
    QVERIFY(Vault::ChildProcess::run(
        {"sh", "-c",
         "touch '" + alive + "'; { while [ -e '" + alive + "' ]; do sleep 0.1; done; } & exit 0"},
        {}));
    QVERIFY(std::filesystem::exists(alive));
}

QTEST_GUILESS_MAIN(BoxesTest)

#include "boxestest.moc"
