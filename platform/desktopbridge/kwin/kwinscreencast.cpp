#include "desktopbridge/kwin/kwinscreencast.h"

#include <algorithm>

namespace
{
constexpr quint32 KNOWN_VERSION = 1; // outputs could be recorded from the first one on
constexpr int ASK_MS = 250;          // about what PipeWire takes to connect the two ends
} // namespace

struct KwinScreencast::Cast {
    KwinScreencast &owner;
    WaylandOutput output;
    std::unique_ptr<zkde_screencast_stream_unstable_v1, ScreencastDelete> proxy;
    std::unique_ptr<PipeWireStream> stream;

    // A stream of other sides is that of an output that is just changing.
    bool isLive() const { return stream && stream->size() == output.screen.size(); }
};

struct KwinScreencast::Events {
    static void closed(void *self, zkde_screencast_stream_unstable_v1 * /*proxy*/)
    {
        static_cast<Cast *>(self)->owner.giveUpLater(QStringLiteral("KWin ended it"));
    }
    static void created(void *self, zkde_screencast_stream_unstable_v1 * /*proxy*/, uint32_t node)
    {
        auto *cast = static_cast<Cast *>(self);
        cast->owner.onNode(*cast, node);
    }
    static void failed(void *self, zkde_screencast_stream_unstable_v1 * /*proxy*/,
                       const char *error)
    {
        static_cast<Cast *>(self)->owner.giveUpLater(QString::fromUtf8(error));
    }
    static constexpr zkde_screencast_stream_unstable_v1_listener TABLE = {closed, created, failed};
};

KwinScreencast::KwinScreencast(std::shared_ptr<WaylandConnection> connection,
                               const WaylandOutputs &outputs, int retry)
    : m_connection(std::move(connection))
    , m_outputs(outputs)
    , m_screencast(m_connection->bindFirst<zkde_screencast_unstable_v1>(
          zkde_screencast_unstable_v1_interface, KNOWN_VERSION))
{
    m_retry.setInterval(retry);
    m_asking.setInterval(ASK_MS);
    connect(&m_retry, &QTimer::timeout, this, &KwinScreencast::tryAgain);
    connect(&m_asking, &QTimer::timeout, this, &KwinScreencast::askForDrawing);
    connect(&outputs, &WaylandOutputs::changed, this, [this] {
        if (m_started) {
            restart();
        }
    });
}

KwinScreencast::~KwinScreencast()
{
    close();
}

void KwinScreencast::start()
{
    m_started = true;
    restart();
}

void KwinScreencast::stop()
{
    m_started = false;
    m_retry.stop();
    m_asking.stop();
    close();
    m_connection->flush();
}

void KwinScreencast::restart()
{
    close();
    m_isBroken = false;
    m_retry.start(); // until pictures come
    m_asking.start();
    QString problem;
    m_remote = PipeWireRemote::connectTo(FileDescriptor(), problem);
    if (!m_remote) {
        giveUpLater(problem);
        return;
    }
    connect(m_remote.get(), &PipeWireRemote::lost, this,
            [this] { giveUpLater(QStringLiteral("PipeWire is gone")); });
    for (const WaylandOutput &output : m_outputs.outputs()) {
        open(output);
    }
    m_connection->flush();
}

void KwinScreencast::open(const WaylandOutput &output)
{
    auto cast = std::make_unique<Cast>(Cast{*this, output, nullptr, nullptr});
    cast->proxy.reset(zkde_screencast_unstable_v1_stream_output(
        m_screencast.get(), output.proxy, ZKDE_SCREENCAST_UNSTABLE_V1_POINTER_HIDDEN));
    zkde_screencast_stream_unstable_v1_add_listener(cast->proxy.get(), &Events::TABLE, cast.get());
    m_casts.push_back(std::move(cast));
}

void KwinScreencast::onNode(Cast &cast, quint32 node)
{
    if (!m_remote) {
        return; // given up meanwhile
    }
    cast.stream = std::make_unique<PipeWireStream>(*m_remote, node);
    connect(cast.stream.get(), &PipeWireStream::damaged, this, &KwinScreencast::damaged);
    connect(cast.stream.get(), &PipeWireStream::liveChanged, this, &KwinScreencast::onLiveChanged);
    connect(cast.stream.get(), &PipeWireStream::ended, this,
            [this] { giveUpLater(QStringLiteral("PipeWire ended it")); });
}

void KwinScreencast::onLiveChanged()
{
    if (m_isBroken) {
        return; // pictures may go on coming for a moment, but all is begun anew
    }
    if (!isLive()) {
        if (m_started && !m_retry.isActive()) { // interrupted
            m_retry.start();
            m_asking.start();
        }
        return;
    }
    m_retry.stop();
    m_asking.stop();
    if (!m_problem.isEmpty()) {
        m_problem.clear();
        qInfo("KWin's stream of the screen is back");
    }
}

// Streams and proxies go by the timer: this may come out of their own calls.
void KwinScreencast::giveUpLater(const QString &reason)
{
    m_isBroken = true;
    m_retry.start();
    noteProblem(reason);
}

void KwinScreencast::noteProblem(const QString &reason)
{
    m_unseen = true;
    m_asking.stop();
    if (m_problem.isEmpty()) {
        qWarning("No stream of what KWin draws (%s): the screen is compared every %d ms instead",
                 qPrintable(reason), m_retry.interval());
    }
    m_problem = reason;
}

void KwinScreencast::tryAgain()
{
    if (m_isBroken) {
        restart();
    } else {
        noteProblem(QStringLiteral("no picture arrives"));
    }
    Q_EMIT damaged();
}

void KwinScreencast::askForDrawing()
{
    for (const std::unique_ptr<Cast> &cast : m_casts) {
        if (cast->stream && !cast->stream->isLive()) {
            Q_EMIT drawingNeeded(cast->output.geometry.logical.topLeft());
        }
    }
}

void KwinScreencast::close()
{
    m_casts.clear();
    m_remote.reset();
}

bool KwinScreencast::isLive() const
{
    return !m_casts.empty() &&
           std::all_of(m_casts.begin(), m_casts.end(),
                       [](const std::unique_ptr<Cast> &cast) { return cast->isLive(); });
}

QVector<QRect> KwinScreencast::takeDamage()
{
    QVector<QRect> areas;
    for (const std::unique_ptr<Cast> &cast : m_casts) {
        const QVector<QRect> drawn = cast->stream ? cast->stream->takeDamage() : QVector<QRect>();
        for (const QRect &area : drawn) {
            areas.append(area.translated(cast->output.screen.topLeft()));
        }
    }
    if (m_unseen) {
        areas = m_outputs.screens();
        m_unseen = false;
    }
    return areas;
}

bool KwinScreencast::copy(quint32 global, const QRect &area, quint32 *target, int targetWidth) const
{
    const auto cast =
        std::find_if(m_casts.begin(), m_casts.end(), [global](const std::unique_ptr<Cast> &each) {
            return each->output.global == global;
        });
    return cast != m_casts.end() && (*cast)->isLive() &&
           (*cast)->stream->copy(area, target, targetWidth);
}
