#include "window/accessibletree.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>

namespace
{
constexpr char ACCESSIBLE[] = "org.a11y.atspi.Accessible";
constexpr char ACTION[] = "org.a11y.atspi.Action";
constexpr char COMPONENT[] = "org.a11y.atspi.Component";
constexpr char PROPERTIES[] = "org.freedesktop.DBus.Properties";
constexpr uint relativeToScreen = 0;

// Numbers of states in the accessibility bus's protocol.
enum State { Checked = 4, Focusable = 11, Focused = 12, Showing = 25 };

bool has(quint64 states, State state)
{
    return (states >> state & 1U) != 0;
}

QDBusConnection accessibilityBus(const QDBusConnection &session, const QString &name)
{
    const QDBusReply<QString> address =
        QDBusConnection(session).call(QDBusMessage::createMethodCall(
            QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
            QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
    return QDBusConnection::connectToBus(address.value(), name);
}
} // namespace

AccessibleTree::AccessibleTree(const QDBusConnection &session, int scale)
    : m_connectionName(session.name() + QLatin1String(" accessibility"))
    , m_bus(accessibilityBus(session, m_connectionName))
    , m_scale(scale)
{
}

AccessibleTree::~AccessibleTree()
{
    QDBusConnection::disconnectFromBus(m_connectionName);
}

struct AccessibleTree::Answers {
    QDBusPendingCall name;
    QDBusPendingCall description;
    QDBusPendingCall role;
    QDBusPendingCall state;
    QDBusPendingCall extents;
    QDBusPendingCall children;
};

QDBusPendingCall AccessibleTree::ask(const Place &place, const char *interface, const char *method,
                                     const QVariantList &arguments) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        place.service, place.path, QLatin1String(interface), QLatin1String(method));
    call.setArguments(arguments);
    return m_bus.asyncCall(call);
}

AccessibleTree::Answers AccessibleTree::askAll(const Place &place) const
{
    const auto property = [&](const char *name) {
        return ask(place, PROPERTIES, "Get", {QLatin1String(ACCESSIBLE), QLatin1String(name)});
    };
    return {property("Name"),
            property("Description"),
            ask(place, ACCESSIBLE, "GetRoleName"),
            ask(place, ACCESSIBLE, "GetState"),
            ask(place, COMPONENT, "GetExtents", {relativeToScreen}),
            ask(place, ACCESSIBLE, "GetChildren")};
}

namespace
{
// What is asked may be gone meanwhile: nothing is known of it then.
QVariant valueOf(QDBusPendingCall call)
{
    call.waitForFinished();
    return call.isError() ? QVariant() : call.reply().arguments().value(0);
}

QString textOf(const QDBusPendingCall &property)
{
    return valueOf(property).value<QDBusVariant>().variant().toString();
}

QRect boxOf(const QDBusPendingCall &call, int scale)
{
    const QVariant answer = valueOf(call);
    if (!answer.isValid()) {
        return {};
    }
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    const auto box = answer.value<QDBusArgument>();
    box.beginStructure();
    box >> left >> top >> width >> height;
    box.endStructure();
    return {left * scale, top * scale, width * scale, height * scale};
}

template <typename Place>
QVector<Place> placesOf(const QDBusPendingCall &call)
{
    QVector<Place> places;
    const QVariant answer = valueOf(call);
    if (!answer.isValid()) {
        return places;
    }
    const auto list = answer.value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        Place place;
        QDBusObjectPath path;
        list.beginStructure();
        list >> place.service >> path;
        list.endStructure();
        place.path = path.path();
        places.append(place);
    }
    list.endArray();
    return places;
}
} // namespace

AccessibleTree::Node AccessibleTree::nodeOf(const Place &place, const Answers &answers) const
{
    Node node;
    node.service = place.service;
    node.path = place.path;
    node.name = textOf(answers.name);
    node.description = textOf(answers.description);
    node.role = valueOf(answers.role).toString();
    node.extents = boxOf(answers.extents, m_scale);
    const QVariant states = valueOf(answers.state);
    if (states.isValid()) {
        const auto words = qdbus_cast<QVector<uint>>(states);
        const quint64 bits = words.value(0) | quint64{words.value(1)} << 32;
        node.isShowing = has(bits, Showing);
        node.isFocusable = has(bits, Focusable);
        node.isFocused = has(bits, Focused);
        node.isChecked = has(bits, Checked);
    }
    return node;
}

void AccessibleTree::collect(const QVector<Place> &places, const QString &window, bool hiddenToo,
                             QVector<Node> *nodes) const
{
    // All at once: one by one, a page would take a tenth of a second.
    QList<Answers> asked;
    for (const Place &place : places) {
        asked.append(askAll(place));
    }
    for (int index = 0; index < asked.size(); ++index) {
        const Answers &answers = asked.at(index);
        Node node = nodeOf(places.at(index), answers);
        if (!node.exists() || (!node.isShowing && !hiddenToo)) {
            continue;
        }
        node.window = window.isNull() ? node.name : window;
        nodes->append(node);
        collect(placesOf<Place>(answers.children), node.window, hiddenToo, nodes);
    }
}

QVector<AccessibleTree::Node> AccessibleTree::nodes(const QString &name, bool hiddenToo) const
{
    QVector<Node> found;
    const Place desktop{QStringLiteral("org.a11y.atspi.Registry"),
                        QStringLiteral("/org/a11y/atspi/accessible/root")};
    for (const Place &program : placesOf<Place>(ask(desktop, ACCESSIBLE, "GetChildren"))) {
        if (textOf(askAll(program).name) == name) {
            collect(placesOf<Place>(ask(program, ACCESSIBLE, "GetChildren")), QString(), hiddenToo,
                    &found);
        }
    }
    return found;
}

bool AccessibleTree::act(const Node &control, const QString &action) const
{
    const Place place{control.service, control.path};
    for (int number = 0; number < 8; ++number) { // more than any control has
        if (valueOf(ask(place, ACTION, "GetName", {number})).toString() == action) {
            return valueOf(ask(place, ACTION, "DoAction", {number})).toBool();
        }
    }
    return false;
}
