#pragma once
// The program's window. It never closes by itself: a close request becomes a question to the user.
// Owner: the backend, by value. Thread: main.

#include <QQuickView>

class YestermarkView : public QQuickView
{
    Q_OBJECT

public:
    using QQuickView::QQuickView;

Q_SIGNALS:
    /// Somebody, such as the window manager, asked the window to close.
    void confirmQuit();
    /// F1 went down; holding it gives no second signal.
    void keyF1Pressed();

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool isHeld(const QKeyEvent &press) const;

    ulong m_f1ReleasedAt = 0; ///< in the events' own time; 0 while it was never released
};
