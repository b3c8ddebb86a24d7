// The search by meaning of yestermarkctl, with the real runtime, while another process has the
// store of vectors open; and where runtime or vectors are missing.

#include "cli/ctlworld.h"
#include "coreai/coreaiembedding.h"
#include "database/nearestframes.h"
#include "tools/historyworld.h"
#include "vectordb/databaseloader.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

namespace
{
constexpr char COLLECTION[] = "screenshots";
const QString QUERY = QStringLiteral("a page about the harbour");

QVector<float> vectorOf(const QString &text)
{
    ImageEmbeddingSession *session = image_embedding_create_session();
    EmbeddingResult *result = nullptr;
    QVector<float> vector;
    if (session && image_embedding_init_session(session) == 0 &&
        text_embedding_by_image_model(session, text.toUtf8().constData(), &result)) {
        vector.resize(embedding_result_get_vector_length(result));
        std::copy_n(embedding_result_get_vector_data(result), vector.size(), vector.begin());
    }
    embedding_result_destroy(&result);
    image_embedding_destroy_session(&session);
    return vector;
}

VectorDB::Status insert(VectorDB::Database &store, const QString &video, int index, qint64 time,
                        const QVector<float> &vector)
{
    using namespace VectorDB;
    DmlResults results;
    const std::vector<float> floats(vector.begin(), vector.end());
    return store.Insert(
        COLLECTION,
        {std::make_shared<VarCharFieldData>("id", std::vector<std::string>{std::to_string(index)}),
         std::make_shared<FloatVectorFieldData>("vector", std::vector<std::vector<float>>{floats}),
         std::make_shared<VarCharFieldData>("videoName",
                                            std::vector<std::string>{video.toStdString()}),
         std::make_shared<Int32FieldData>("frameIndexOfVideo", std::vector<int>{index}),
         std::make_shared<Int64FieldData>("realTime", std::vector<long>{time})},
        results);
}
} // namespace

class TestCtlMeaning : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_store.reset(); }

    void nearestFramesAreFoundThoughTheStoreIsInUse();
    void vectorWithoutARowIsPassedOver();
    void farFramesAreNothing();
    void missingMatrixIsTold();
    void noVectorsAreNothing();
    void withoutARuntimeItEndsWithFour();

private:
    void store(int index, const QVector<float> &vector) const;
    CtlRun search(const QStringList &options = {}) const
    {
        return m_ctl->run(QStringList{"search", "--meaning", "--json", QUERY} + options);
    }

    HistoryWorld m_world;
    QVector<float> m_vector; ///< of the query; empty without an engine
    std::unique_ptr<CtlWorld> m_ctl;
    std::shared_ptr<VectorDB::Database> m_store; ///< open, as a recorder has it
};

void TestCtlMeaning::init()
{
    if (m_vector.isEmpty()) {
        m_vector = vectorOf(QUERY);
    }
    m_world.reset();
    m_ctl = std::make_unique<CtlWorld>(m_world.home());
    m_store = VectorDB::DatabaseLoader::local();
    VectorDB::ConnectParam place;
    place.SetDirectory(QFile::encodeName(m_world.root() + "/vector_database").toStdString());
    QVERIFY(m_store->Connect(place).IsOk());
    if (m_vector.isEmpty()) {
        QSKIP("this build has no engine for the meaning of texts");
    }
}

void TestCtlMeaning::store(int index, const QVector<float> &vector) const
{
    QVERIFY(insert(*m_store, m_world.lastVideo(), index, m_world.facts().lastTime, vector).IsOk());
}

void TestCtlMeaning::nearestFramesAreFoundThoughTheStoreIsInUse()
{
    store(20, m_vector);
    const QByteArray before = m_ctl->listing();
    const CtlRun run = search();
    QVERIFY2(run.status == 0, QByteArray::number(run.status) + run.faults);
    QVERIFY2(run.faults.isEmpty(), run.faults.constData());
    QCOMPARE(run.list().size(), 1); // the random ones lie far
    const QJsonObject found = run.list().first().toObject();
    QCOMPARE(found["frame"].toString(), m_world.lastVideo() + "#20");
    QVERIFY(!found["text"].toString().isEmpty());
    QCOMPARE(search({"--app", found["desktopEntry"].toString()}).status, 0);
    QCOMPARE(search({"--app", "no such application"}).status, 1);
    QCOMPARE(search({"--from", m_world.facts().lastDay}).status, 0);
    QCOMPARE(search({"--to", m_world.facts().firstDay}).status, 1);
    store(21, m_vector);
    QCOMPARE(search().list().size(), 2);
    QCOMPARE(search({"--limit", "1"}).list().size(), 1);
    m_store.reset(); // its end folds the log
    QCOMPARE(search().list().size(), 2);
    QVERIFY(!before.isEmpty());
}

void TestCtlMeaning::vectorWithoutARowIsPassedOver()
{
    store(77, m_vector);
    const CtlRun run = search();
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray("[]\n"));
}

void TestCtlMeaning::farFramesAreNothing()
{
    const QByteArray before = m_ctl->listing();
    QCOMPARE(search().status, 1);
    QCOMPARE(m_ctl->listing(), before);
}

void TestCtlMeaning::missingMatrixIsTold()
{
    QVERIFY(QFile::remove(m_world.root() + "/vector_database/matrix_1.bin"));
    const QByteArray before = m_ctl->listing();
    const CtlRun run = search();
    QCOMPARE(run.status, 3);
    QVERIFY(run.faults.contains("vectors cannot be searched"));
    QCOMPARE(m_ctl->listing(), before);
}

void TestCtlMeaning::noVectorsAreNothing()
{
    m_store.reset();
    QVERIFY(QDir(m_world.root() + "/vector_database").removeRecursively());
    const QByteArray before = m_ctl->listing();
    QCOMPARE(search().status, 1);
    QCOMPARE(m_ctl->listing(), before);
}

void TestCtlMeaning::withoutARuntimeItEndsWithFour()
{
    const QTemporaryDir installed;
    QVERIFY(QDir(installed.path()).mkdir("bin"));
    const QString program = installed.filePath("bin/yestermarkctl");
    QVERIFY(QFile::copy(CtlWorld::program(), program));
    const auto status = [&] {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", m_world.home());
        environment.insert("XDG_DATA_DIRS", "/nonexistent");
        process.setProcessEnvironment(environment);
        process.start(program, {"search", "--meaning", "harbour"});
        process.waitForFinished();
        return process.readAllStandardError().contains("runtime is not installed")
                   ? process.exitCode()
                   : -1;
    };
    QCOMPARE(status(), 4);
    // The models are there, the process that reads them is not.
    const QDir build(QFileInfo(CtlWorld::program()).path() + "/..");
    QVERIFY(QFile::link(build.absoluteFilePath("share"), installed.filePath("share")));
    QCOMPARE(status(), 4);
}

QTEST_MAIN(TestCtlMeaning)
#include "ctlmeaningtest.moc"
