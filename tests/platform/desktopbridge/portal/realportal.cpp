#include "realportal.h"

#include "toldstream.h"

#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QTest>

// What the desktop wants to see again when it is asked to go on without a question.
struct RestoreData {
    QString desktop;
    quint32 version = 0;
    QDBusVariant content;
};
Q_DECLARE_METATYPE(RestoreData)

QDBusArgument &operator<<(QDBusArgument &argument, const RestoreData &data)
{
    argument.beginStructure();
    argument << data.desktop << data.version << data.content;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, RestoreData &data)
{
    argument.beginStructure();
    argument >> data.desktop >> data.version >> data.content;
    argument.endStructure();
    return argument;
}

namespace
{
const QString PORTAL = QStringLiteral("/usr/libexec/xdg-desktop-portal");
const QString PERMISSIONS = QStringLiteral("/usr/libexec/xdg-permission-store");
const QString CONNECTION = QStringLiteral("desktop's part of the portal");
const QString NAME = QStringLiteral("org.freedesktop.impl.portal.desktop.test");
const QString PATH = QStringLiteral("/org/freedesktop/portal/desktop");
const QString DESKTOP = QStringLiteral("test");
const QString CONTENT = QStringLiteral("the same monitors");
constexpr int PATIENCE_MS = 10000;
constexpr uint GRANTED = 0, REFUSED = 1;
constexpr uint MONITORS = 1, POINTER_HIDDEN = 1, UNTIL_REVOKED = 2;
} // namespace

RealPortal::RealPortal()
    : m_bus(QProcessEnvironment::systemEnvironment(), PrivateBus::Services::None)
    , m_connection(m_bus.connect(CONNECTION))
{
    qDBusRegisterMetaType<ToldStream>();
    qDBusRegisterMetaType<QList<ToldStream>>();
    qDBusRegisterMetaType<RestoreData>();
    QDir(m_folder.path()).mkpath(QStringLiteral("data"));
    QFile description(m_folder.filePath(QStringLiteral("test.portal")));
    if (description.open(QFile::WriteOnly)) {
        description.write("[portal]\nDBusName=org.freedesktop.impl.portal.desktop.test\n"
                          "Interfaces=org.freedesktop.impl.portal.ScreenCast;\nUseIn=test;\n");
    }
    m_connection.registerVirtualObject(PATH, this, QDBusConnection::SubPath);
    m_connection.registerService(NAME);
}

RealPortal::~RealPortal()
{
    kill(m_portal);
    kill(m_permissions);
    m_connection.unregisterObject(PATH);
    QDBusConnection::disconnectFromBus(CONNECTION);
}

void RealPortal::kill(std::unique_ptr<ChildProcess> &process)
{
    if (process) {
        process->kill();
        process->waitForFinished();
        process.reset();
    }
}

QString RealPortal::missing()
{
    for (const QString &file : {PORTAL, PERMISSIONS}) {
        if (!QFile::exists(file)) {
            return file + QStringLiteral(" is not installed");
        }
    }
    return {};
}

std::unique_ptr<ChildProcess> RealPortal::started(const QString &program) const
{
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    all.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus.address());
    all.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.filePath(QStringLiteral("data")));
    all.insert(QStringLiteral("XDG_DESKTOP_PORTAL_DIR"), m_folder.path());
    all.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), DESKTOP);
    auto process = std::make_unique<ChildProcess>();
    process->setProcessEnvironment(all);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, QStringList());
    process->waitForStarted();
    return process;
}

bool RealPortal::waitForName(const QString &name) const
{
    return QTest::qWaitFor(
        [&] { return m_connection.interface()->isServiceRegistered(name).value(); }, PATIENCE_MS);
}

bool RealPortal::start()
{
    if (!m_permissions) {
        m_permissions = started(PERMISSIONS);
    }
    if (!waitForName(QStringLiteral("org.freedesktop.impl.portal.PermissionStore"))) {
        return false;
    }
    if (!m_portal) {
        m_portal = started(PORTAL);
    }
    return waitForName(QStringLiteral("org.freedesktop.portal.Desktop"));
}

QString RealPortal::introspect(const QString & /*path*/) const
{
    return {};
}

bool RealPortal::handleMessage(const QDBusMessage &message, const QDBusConnection & /*bus*/)
{
    const QVariantList answer = answerTo(message);
    if (!answer.isEmpty()) {
        m_connection.send(message.createReply(answer));
    }
    return !answer.isEmpty();
}

QVariantList RealPortal::answerTo(const QDBusMessage &message)
{
    const QString member = message.member();
    const QVariantMap nothing;
    if (member == QLatin1String("GetAll")) {
        return {QVariantMap{{QStringLiteral("AvailableSourceTypes"), MONITORS},
                            {QStringLiteral("AvailableCursorModes"), POINTER_HIDDEN},
                            {QStringLiteral("version"), 4U}}};
    }
    if (member == QLatin1String("CreateSession")) {
        return {GRANTED, nothing};
    }
    if (member == QLatin1String("SelectSources")) {
        m_sources = qdbus_cast<QVariantMap>(message.arguments().constLast());
        return {GRANTED, nothing};
    }
    if (member == QLatin1String("Start")) {
        const QVariantMap results = startCast();
        return {results.isEmpty() ? REFUSED : GRANTED, results};
    }
    return {};
}

QVariantMap RealPortal::startCast()
{
    const auto before = qdbus_cast<RestoreData>(m_sources.value(QStringLiteral("restore_data")));
    if (before.desktop == DESKTOP && before.content.variant().toString() == CONTENT) {
        ++m_restored;
    } else {
        ++m_questions;
        if (!m_saysYes) {
            return {};
        }
    }
    const QList<ToldStream> streams{{m_node, {{QStringLiteral("source_type"), MONITORS}}}};
    const RestoreData data{DESKTOP, 1, QDBusVariant(CONTENT)};
    return {{QStringLiteral("streams"), QVariant::fromValue(streams)},
            {QStringLiteral("persist_mode"), UNTIL_REVOKED},
            {QStringLiteral("restore_data"), QVariant::fromValue(data)}};
}
