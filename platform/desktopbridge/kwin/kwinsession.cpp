#include "desktopbridge/kwin/kwinsession.h"

namespace
{
// Announced to everybody, unlike the interfaces that are needed.
const char GLOBAL_OF_KWIN[] = "kde_output_management_v2";
} // namespace

KwinSession::KwinSession(std::shared_ptr<WaylandConnection> wayland, int retry)
    : connection(std::move(wayland)), screencast(connection, outputs, retry)
{
}

std::unique_ptr<KwinSession> KwinSession::open(QString &problem, int retry)
{
    const auto connection = WaylandConnection::connectToDisplay(problem);
    return connection ? over(connection, problem, retry) : nullptr;
}

std::unique_ptr<KwinSession> KwinSession::over(const std::shared_ptr<WaylandConnection> &connection,
                                               QString &problem, int retry)
{
    if (!connection->findGlobal(GLOBAL_OF_KWIN)) {
        problem = QStringLiteral("the Wayland compositor is not KWin");
        return nullptr;
    }
    auto session = std::make_unique<KwinSession>(connection, retry);
    if (!session->windows.isOffered() || !session->screencast.isOffered()) {
        problem = QStringLiteral("KWin shows windows and streams only to programs whose desktop "
                                 "file asks for them, and knows none for this one");
        return nullptr;
    }
    // The windows that are there and which of them is active; each takes an answer of its own.
    if (!connection->roundTrip() || !connection->roundTrip()) {
        problem = QStringLiteral("KWin does not answer");
        return nullptr;
    }
    return session;
}
