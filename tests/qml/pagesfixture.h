#pragma once
// The pages in a window, with doubles of the context objects. Made on the stack of a test; main
// thread.

#include "qml/shelldoubles.h"
#include "qml/videoinfodouble.h"
#include "support/logcapture.h"

#include <QAccessibleInterface>
#include <QQuickItem>
#include <QQuickView>

#include <functional>

class PagesFixture
{
public:
    PagesFixture();
    ~PagesFixture();
    Q_DISABLE_COPY_MOVE(PagesFixture)

    const bool hasOpenGl; ///< settled before the view is made
    CallRecord calls;
    VideoPreviewItem previewItem;
    VideoInfoDouble videoInfo;
    TitleBarDouble titleBar;
    TrayIconDouble trayIcon;
    QStringList imagesAsked; ///< ids, without the provider's name
    QQuickView view;

    /// Loads the root page and shows the window; false where that failed.
    bool show(const QSize &size = QSize(1920, 1034));

    QQuickItem *root() const { return view.rootObject(); }
    QObject *timeAxis() const;
    QVariant axis(const char *property) const { return timeAxis()->property(property); }

    /// Calls a function of the axis.
    QVariant callAxis(const char *function, const QVariantList &arguments = QVariantList()) const;
    /// The centre of the slider in the axis' visible part.
    qreal indicator() const;

    /// What the engine warned of and what pages were logged with.
    QStringList warnings() const;

    /// The first shown item with that accessible name, in any window; null if there is none.
    static QQuickItem *control(const QString &accessibleName);

    /// Brings a dialog up: by its flag at the root page, or by a button of the settings.
    void showDialog(const QByteArray &flagOrButton);

    /// The shown dialog with that title; null if there is none.
    static QQuickWindow *dialog(const QString &title);

    /// Where a point of an item lies in its window.
    static QPoint at(QQuickItem *item, const QPointF &point);
    static QPoint centreOf(QQuickItem *item);
    static void click(QQuickItem *item);

    /// Visits every shown item of a window.
    static void visit(QQuickItem *item, const std::function<void(QQuickItem *)> &visitor);

    /// The texts that stand in a window, in no order.
    static QStringList texts(QQuickWindow *window);

    /// A position of the axis' visible part, in the window's coordinates, on the bars.
    QPoint onAxis(qreal visibleX) const;

    /// Moves the pointer there without a button.
    void hover(const QPoint &point);

private:
    LogCapture m_log;
    QStringList m_warnings;
};

/// Runs of these lengths, in frames, of applications in turn.
QList<AppItemInfo> runsOfFrames(const QVector<int> &frames);

/// A day so many days ago with runs of these lengths.
TestDay dayAgo(int days, const QVector<int> &frames);
