// The installed runtime and its engines are confined while they work, and nobody of the same user
// looks into them.

#include "coreai/engines/modelavailability.h"
#include "coreai/protocol/answers.h"
#include "coreai/protocol/channelprocess.h"
#include "support/childprocesses.h"
#include "support/testfiles.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <linux/capability.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace coreai;

namespace
{
constexpr int patience = 60000; // ms; the engines run at nice 19

QByteArray fieldOf(pid_t process, const QByteArray &file, const QByteArray &name)
{
    for (const QByteArray &line :
         contentOf(QStringLiteral("/proc/%1/").arg(process) + QLatin1String(file)).split('\n')) {
        if (line.startsWith(name)) {
            return line.mid(name.size()).simplified();
        }
    }
    return {};
}

// As one without the power over others' processes, which root has otherwise; of this thread only.
void giveUpTracingRights()
{
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2] = {};
    if (::syscall(SYS_capget, &header, sets) == 0) {
        sets[0].effective &= ~(1U << CAP_SYS_PTRACE);
        ::syscall(SYS_capset, &header, sets);
    }
}

// What another process of the user gets for it: 0 or an error number.
int tracing(pid_t process)
{
    int error = 0;
    std::thread([&] {
        giveUpTracingRights();
        if (::ptrace(PTRACE_SEIZE, process, nullptr, nullptr) != 0) {
            error = errno;
        }
    }).join(); // a tracer that ends lets go
    return error;
}

// The program's side of the runtime.
class Client
{
public:
    bool start() { return m_process.start({RUNTIME_PROGRAM}); }
    pid_t processId() const { return m_process.processId(); }

    bool send(MessageType type, std::uint64_t request, std::string_view bytes = {})
    {
        return m_process.channel().send({type, 1, request, Payload::of(bytes)}) ==
               Channel::Sending::Sent;
    }

    // The next message of this kind; without a payload where none comes.
    Message await(MessageType type)
    {
        Message message;
        while (m_process.channel().isOpen()) {
            if (m_process.channel().receive(message) != Channel::Receiving::Received) {
                if (!m_process.channel().waitReadable(patience)) {
                    break;
                }
            } else if (message.type == type) {
                return message;
            }
        }
        return {};
    }

private:
    ChannelProcess m_process;
};
} // namespace

class TestConfinedRuntime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void bothProcessesAreConfined();
    void nobodyOfTheSameUserTracesThem();
    void theyReadTheirModels();

private:
    Client m_client;
    std::vector<pid_t> m_processes; // the runtime, its engines
    std::vector<float> m_vector;
};

void TestConfinedRuntime::initTestCase()
{
    if (!textMeaningAvailable(ModelFolders({QStringLiteral(MODELS)}))) {
        QSKIP("the models are not here");
    }
    QVERIFY(m_client.start());
    QVERIFY(m_client.send(MessageType::OpenSession, std::uint64_t(SessionKind::Embedding)));
    QCOMPARE(m_client.await(MessageType::SessionOpened).request, std::uint64_t(0));
    QVERIFY(m_client.send(MessageType::EmbedText, 7, "a mountain lake in the morning"));
    const Message answer = m_client.await(MessageType::Vector);
    const Payload::View view = answer.payload.view();
    m_vector = decodeFloats(view.bytes()).value_or(std::vector<float>());
    m_processes = {m_client.processId()};
    for (const pid_t engines : childrenOf(m_client.processId())) {
        m_processes.push_back(engines);
    }
    QCOMPARE(m_processes.size(), std::size_t(2));
}

void TestConfinedRuntime::bothProcessesAreConfined()
{
    for (const pid_t process : m_processes) {
        QCOMPARE(fieldOf(process, "status", "Seccomp:"), QByteArray("2"));
        QCOMPARE(fieldOf(process, "status", "NoNewPrivs:"), QByteArray("1"));
        QCOMPARE(fieldOf(process, "limits", "Max core file size").split(' ').first(),
                 QByteArray("1"));
    }
    // The engines' own filter comes on top of the inherited one.
    QVERIFY(fieldOf(m_processes[1], "status", "Seccomp_filters:").toInt() >
            fieldOf(m_processes[0], "status", "Seccomp_filters:").toInt());
    const QString folder = QFile::symLinkTarget(QStringLiteral("/proc/%1/cwd").arg(m_processes[1]));
    QVERIFY(folder.isEmpty() || folder == QLatin1String("/"));
}

void TestConfinedRuntime::nobodyOfTheSameUserTracesThem()
{
    QProcess other;
    other.start(QStringLiteral("/bin/sleep"), {QStringLiteral("60")});
    QVERIFY(other.waitForStarted());
    QCOMPARE(tracing(pid_t(other.processId())), 0);
    other.kill();
    other.waitForFinished();
    for (const pid_t process : m_processes) {
        QCOMPARE(tracing(process), EPERM);
    }
}

void TestConfinedRuntime::theyReadTheirModels()
{
    QCOMPARE(m_vector.size(), std::size_t(1024));
    QVERIFY(std::any_of(m_vector.begin(), m_vector.end(), [](float value) { return value != 0; }));
}

QTEST_GUILESS_MAIN(TestConfinedRuntime)
#include "confinedruntimetest.moc"
