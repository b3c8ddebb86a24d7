#include "app/yestermarkview.h"

#include <QKeyEvent>

bool YestermarkView::event(QEvent *event)
{
    if (event->type() == QEvent::Close) {
        Q_EMIT confirmQuit();
        event->ignore();
        return true;
    }
    return QQuickView::event(event);
}

void YestermarkView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1) {
        if (event->isAutoRepeat()) {
            return;
        }
        Q_EMIT keyF1Pressed();
    }
    QQuickView::keyPressEvent(event);
}
