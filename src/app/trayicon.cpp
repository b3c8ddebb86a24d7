#include "app/trayicon.h"

#include <QAction>
#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QQuickView>

TrayIcon::TrayIcon(QQuickView *view, bool isRecording, QObject *parent)
    : QObject(parent), m_view(view), m_isRecording(isRecording)
{
    initTrayIcon();
    connectSignals();
}

TrayIcon::~TrayIcon() = default;

QAction *TrayIcon::addAction(const char *name, const QString &icon, const QString &text)
{
    auto *action = new QAction(QIcon(icon), text, this);
    action->setObjectName(QLatin1String("tavel-ai-yestermark_QAction_") + QLatin1String(name));
    return action;
}

void TrayIcon::initTrayIcon()
{
    const QString icon = QStringLiteral(":/image/yestermarktrayicon.svg");
    m_trayIconObject = new QSystemTrayIcon(this);
    m_trayIconObject->setIcon(QIcon(icon));
    m_menu = std::make_unique<QMenu>();
    m_menu->setAccessibleName(QStringLiteral("tavel-ai-yestermark_QMenu_trayIcon"));
    m_openAction = addAction("open", icon, tr("Open Yestermark"));
    m_pauseAction = addAction("pause", QString(), QString());
    m_settingsAction =
        addAction("settings", QStringLiteral(":/image/settings.svg"), tr("Settings"));
    m_exitAction = addAction("exit", QStringLiteral(":/image/exit.svg"), tr("Exit"));
    m_menu->addActions({m_openAction, m_pauseAction, m_settingsAction});
    m_menu->addSeparator();
    m_menu->addAction(m_exitAction);
    m_trayIconObject->setContextMenu(m_menu.get());
    m_trayIconObject->setVisible(true);
    updateTrayIcon(m_isRecording);
}

void TrayIcon::connectSignals()
{
    connect(m_trayIconObject, &QSystemTrayIcon::activated, this, &TrayIcon::onActivated,
            Qt::DirectConnection);
    connect(m_openAction, &QAction::triggered, this, &TrayIcon::activateYestermark);
    connect(m_pauseAction, &QAction::triggered, this, &TrayIcon::onPauseTriggered);
    connect(
        this, &TrayIcon::uiClickStartMemoryBtn, this,
        [this] {
            m_isRecording = true;
            setTrayIconToStartMemory();
        },
        Qt::DirectConnection);
    connect(m_exitAction, &QAction::triggered, this, [this] {
        Q_EMIT activateYestermark();
        Q_EMIT quitMemory();
    });
    connect(m_settingsAction, &QAction::triggered, this, [this] {
        Q_EMIT activateYestermark();
        Q_EMIT openSettings();
    });
}

bool TrayIcon::isOutOfSight() const
{
    if (!m_view->isVisible() || m_view->windowState() == Qt::WindowMinimized) {
        return true;
    }
    // No client is told that its window was minimised there: one without the keyboard counts so.
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland")) &&
           !m_view->isActive();
}

void TrayIcon::onActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason != QSystemTrayIcon::Trigger) {
        return;
    }
    if (isOutOfSight()) {
        Q_EMIT activateYestermark();
    } else {
        Q_EMIT requestMinimizeYestermark();
        m_view->update();
    }
}

void TrayIcon::onPauseTriggered()
{
    if (m_isRecording) {
        m_isRecording = false;
        setTrayIconToStartMemory();
        Q_EMIT pauseMemory();
    } else {
        Q_EMIT trayiconRequestToStartMemory();
    }
}

void TrayIcon::updateTrayIcon(bool isRecording)
{
    m_isRecording = isRecording;
    if (m_isRecording) {
        setTrayIconToPauseMemory();
    } else {
        setTrayIconToStartMemory();
    }
}

void TrayIcon::confirmStartMemory()
{
    m_isRecording = true;
    setTrayIconToPauseMemory();
    Q_EMIT startMemory();
}

void TrayIcon::setLook(const QString &toolTip, const QString &icon, const QString &text)
{
    m_trayIconObject->setToolTip(toolTip);
    m_pauseAction->setIcon(QIcon(icon));
    m_pauseAction->setText(text);
}

void TrayIcon::setTrayIconToStartMemory()
{
    setLook(tr("Yestermark"), QStringLiteral(":/image/menustartmemoryicon.svg"),
            tr("Start Memorizing"));
}

void TrayIcon::setTrayIconToPauseMemory()
{
    setLook(tr("Yestermark-Memorizing..."), QStringLiteral(":/image/pausememory.svg"),
            tr("Pause Memory"));
}
