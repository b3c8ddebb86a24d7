#include "app/yestermarkview.h"

#include <QKeyEvent>

bool YestermarkView::event(QEvent *event)
{
    if (event->type() == QEvent::Close) {
        Q_EMIT confirmQuit();
        event->ignore();
        return true;
    }
    if (event->type() == QEvent::KeyRelease) {
        const auto *release = static_cast<QKeyEvent *>(event);
        if (release->key() == Qt::Key_F1) {
            m_f1ReleasedAt = release->timestamp();
        }
    }
    return QQuickView::event(event);
}

// On X11 a held key is released and pressed again in the same millisecond. The toolkit misses some
// of these, and all of them while a screen reader listens.
bool YestermarkView::isHeld(const QKeyEvent &press) const
{
    return press.isAutoRepeat() || (m_f1ReleasedAt != 0 && press.timestamp() == m_f1ReleasedAt);
}

void YestermarkView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1) {
        if (isHeld(*event)) {
            return;
        }
        Q_EMIT keyF1Pressed();
    }
    QQuickView::keyPressEvent(event);
}
