#pragma once
// The program in the system tray: shows whether it records, pauses and starts that, opens the
// window and the settings, and begins the exit. It changes no setting itself: it asks by signals
// and follows updateTrayIcon(). The pages know it as "trayIcon". Owner: the backend, as parent.
// Thread: main.

#include <QObject>
#include <QSystemTrayIcon>

#include <memory>

class QAction;
class QMenu;
class QQuickView;

class TrayIcon : public QObject
{
    Q_OBJECT

public:
    /// @p view outlives this object. Where the desktop has no tray yet, the icon appears when one
    /// does on X11, and not in this run on Wayland.
    TrayIcon(QQuickView *view, bool isRecording, QObject *parent);
    ~TrayIcon() override;

    /// Takes over whether the program records, with the look of it.
    void updateTrayIcon(bool isRecording);

    /// Recording may start: takes the look of it and tells the pages.
    void confirmStartMemory();

    void setTrayIconToStartMemory();
    void setTrayIconToPauseMemory();
    void initTrayIcon();
    void connectSignals();

Q_SIGNALS:
    /// The user asks for recording; confirmStartMemory() or updateTrayIcon(false) is the answer.
    void trayiconRequestToStartMemory();
    void startMemory();
    void pauseMemory();
    void quitMemory();
    void openSettings();
    /// The start button of the page was pressed. Ends in the look of a pause that is over only when
    /// the setting's change comes back.
    void uiClickStartMemoryBtn();
    /// Never emitted.
    void programExit();
    void activateYestermark();
    void requestMinimizeYestermark();

private:
    void onActivated(QSystemTrayIcon::ActivationReason reason);
    bool isOutOfSight() const;
    void onPauseTriggered();
    void setLook(const QString &toolTip, const QString &icon, const QString &text);
    QAction *addAction(const char *name, const QString &icon, const QString &text);

    QSystemTrayIcon *m_trayIconObject = nullptr;
    std::unique_ptr<QMenu> m_menu; // no window of the program may be its parent
    QQuickView *m_view;
    QAction *m_openAction = nullptr;
    QAction *m_pauseAction = nullptr;
    QAction *m_exitAction = nullptr;
    QAction *m_settingsAction = nullptr;
    bool m_isRecording;
};
