#pragma once
// The backend where no display can be reached: every answer is empty, and the services turn that
// into error replies. Main thread.

#include "desktopbridge/screenbackend.h"

class NullBackend : public ScreenBackend
{
    Q_OBJECT

public:
    explicit NullBackend(const QString &problem);

    QString problem() const override { return m_problem; }
    QVector<QRect> screens() override { return {}; }
    QRect virtualScreen() override { return {}; }
    int tileEdge() override { return 16; }
    PicturePtr fetch(const QRect &area) override;
    bool startWatching() override { return false; }
    void stopWatching() override {}
    QVector<QRect> takeDamage() override { return {}; }
    std::optional<quint32> activeWindowPid() override { return std::nullopt; }

private:
    QString m_problem;
};
