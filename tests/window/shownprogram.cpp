#include "window/shownprogram.h"

#include "support/pictures.h"

#include <QRegularExpression>
#include <QTest>

#include <algorithm>

namespace
{
using Node = AccessibleTree::Node;

constexpr int waitMs = 20000;
const QString prefix = QStringLiteral("tavel-ai-yestermark_");
const QString mainWindow = QStringLiteral("Yestermark");
const QChar dot(0x00b7);
} // namespace

ShownProgram::ShownProgram(const Desktop &desktop)
    : m_desktop(desktop), m_tree(desktop.bus(), desktop.scale())
{
    m_process.setProgram(QStringLiteral(PROGRAM));
    m_process.setProcessEnvironment(desktop.environment());
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(&m_process, &QProcess::readyRead, &m_process,
                     [this] { m_output += m_process.readAll(); });
}

ShownProgram::~ShownProgram()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool ShownProgram::start()
{
    m_output.clear();
    m_process.start();
    const auto isReady = [this] { return hasWindow(mainWindow) && isInFront(); };
    return m_process.waitForStarted() && QTest::qWaitFor(isReady, waitMs);
}

bool ShownProgram::stop()
{
    m_process.terminate();
    return waitForEnd() && exitCode() == 0;
}

bool ShownProgram::waitForEnd(int milliseconds)
{
    return QTest::qWaitFor([this] { return m_process.state() == QProcess::NotRunning; },
                           milliseconds) &&
           m_process.exitStatus() == QProcess::NormalExit;
}

bool ShownProgram::isInFront() const
{
    return m_process.processId() != 0 && m_desktop.processInFront() == m_process.processId();
}

QVector<Node> ShownProgram::nodes(bool hiddenToo) const
{
    return m_tree.nodes(QStringLiteral("tavel-ai-yestermark"), hiddenToo);
}

Node ShownProgram::control(const QString &shortName, const QString &window) const
{
    for (const Node &node : nodes()) {
        if (node.name == prefix + shortName && (window.isEmpty() || node.window == window)) {
            return node;
        }
    }
    return {};
}

bool ShownProgram::click(const QString &shortName, const QString &window) const
{
    Node found;
    const auto isThere = [&] {
        found = control(shortName, window);
        return found.exists();
    };
    return QTest::qWaitFor(isThere, waitMs) && m_desktop.click(found.extents.center());
}

Node ShownProgram::window(const QString &name) const
{
    for (const Node &node : nodes()) {
        if (node.role == QLatin1String("frame") && node.name == name) {
            return node;
        }
    }
    return {};
}

bool ShownProgram::choose(const QString &entry) const
{
    return click(QStringLiteral("Button_menu")) && click(QLatin1String("MenuItem_") + entry);
}

QString ShownProgram::focus() const
{
    QString innermost; // what is around it says that it has the focus too
    for (const Node &node : nodes()) {
        if (node.isFocused && node.name.startsWith(prefix)) {
            innermost = node.name.mid(prefix.size());
        }
    }
    return innermost;
}

int ShownProgram::numberIn(const QRect &area) const
{
    const QImage screen = m_desktop.picture();
    return area.isEmpty() || !screen.rect().contains(area) ? -1
                                                           : Pictures::numberOf(screen.copy(area));
}

int ShownProgram::picture() const
{
    const Node image = control(QStringLiteral("Image_screenshot"));
    return image.exists() ? numberIn(image.extents) : -1;
}

int ShownProgram::preview() const
{
    // The picture stands above its time, as wide as a fifth of the screen.
    static const QRegularExpression time(QStringLiteral("^.+ \\d\\d:\\d\\d:\\d\\d$"));
    for (const Node &node : nodes()) {
        if (node.window == mainWindow && time.match(node.name).hasMatch()) {
            const int screen = m_desktop.picture().width();
            const int line = qMax(node.extents.height(), 24 * screen / 1920 * m_desktop.scale());
            const int bottom = node.extents.center().y() - line / 2 - 8 * m_desktop.scale();
            const QSize size(screen / 5, screen / 5 * 9 / 16);
            return numberIn(
                QRect(QPoint(node.extents.right() - size.width(), bottom - size.height()), size));
        }
    }
    return -1;
}

QPoint ShownProgram::slider() const
{
    const Node node = control(QStringLiteral("Slider_timeAxis"));
    return node.exists() ? node.extents.center() : QPoint();
}

QVector<Node> ShownProgram::dates(bool hiddenToo) const
{
    QVector<Node> found;
    for (const Node &node : nodes(hiddenToo)) {
        if (node.window == mainWindow && node.name.startsWith(dot) && node.name.endsWith(dot)) {
            found.append(node);
        }
    }
    std::sort(found.begin(), found.end(), [](const Node &one, const Node &other) {
        return one.extents.left() < other.extents.left();
    });
    return found;
}

QStringList ShownProgram::loadedDays() const
{
    QStringList names;
    for (const Node &node : dates(true)) {
        names.append(node.name.mid(1, node.name.size() - 2));
    }
    return names;
}

QStringList ShownProgram::days() const
{
    QStringList names;
    for (const Node &node : dates()) {
        if (node.extents.left() < m_desktop.picture().width() && node.extents.right() > 0) {
            names.append(node.name.mid(1, node.name.size() - 2));
        }
    }
    return names;
}

QPoint ShownProgram::onAxis(const QString &date, int pixels) const
{
    for (const Node &node : dates()) {
        if (node.name == dot + date + dot) {
            const int gap = 8; // behind the text
            return {node.extents.right() + 1 + (gap + pixels) * m_desktop.scale(),
                    node.extents.center().y()};
        }
    }
    return {};
}
