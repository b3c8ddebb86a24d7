#include "qml/pagesfixture.h"

#include "qml/pictureprovider.h"

#include <QAccessible>
#include <QDate>
#include <QGuiApplication>
#include <QOpenGLContext>
#include <QQmlContext>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

namespace
{
// A view is fatal where there is no OpenGL: off screen, on a server without it.
bool chooseRenderer()
{
    static const bool hasOpenGl = [] {
        QOpenGLContext context;
        if (context.create()) {
            return true;
        }
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
        return false;
    }();
    return hasOpenGl;
}
} // namespace

PagesFixture::PagesFixture()
    : hasOpenGl(chooseRenderer()), videoInfo(&calls, &previewItem), titleBar(&calls)
{
    QQmlEngine *engine = view.engine();
    engine->setImportPathList(engine->importPathList() << QStringLiteral(TEST_QML_FOLDER));
    engine->addImageProvider(QStringLiteral("videoImageProvider"),
                             new PictureProvider(&videoInfo, &imagesAsked));
    QQmlContext *context = view.rootContext();
    context->setContextProperty(QStringLiteral("VideoPreviewItem"), &previewItem);
    context->setContextProperty(QStringLiteral("VideoInfo"), &videoInfo);
    context->setContextProperty(QStringLiteral("trayIcon"), &trayIcon);
    context->setContextProperty(QStringLiteral("CustomTitleBar"), &titleBar);
    QObject::connect(engine, &QQmlEngine::warnings, engine, [this](const QList<QQmlError> &errors) {
        for (const QQmlError &error : errors) {
            m_warnings.append(error.toString());
        }
    });
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setFlags(Qt::FramelessWindowHint);
}

PagesFixture::~PagesFixture()
{
    view.setSource(QUrl()); // the pages go before what they are bound to
    if (view.isExposed() && QQuickWindow::sceneGraphBackend() == QLatin1String("software")) {
        // The software renderer frees the textures of pictures with its next frame or never.
        QSignalSpy frames(&view, &QQuickWindow::frameSwapped);
        view.update();
        frames.wait(1000);
    }
}

bool PagesFixture::show(const QSize &size)
{
    view.resize(size);
    view.setSource(QUrl(QStringLiteral("qrc:/qml/main.qml")));
    view.show();
    view.requestActivate();
    return view.status() == QQuickView::Ready && QTest::qWaitForWindowExposed(&view, 20000);
}

QObject *PagesFixture::timeAxis() const
{
    QObject *found = nullptr;
    visit(root(), [&found](QQuickItem *item) {
        if (item->property("clickImageFlickableContentX").isValid()) {
            found = item;
        }
    });
    return found;
}

QVariant PagesFixture::callAxis(const char *function, const QVariantList &arguments) const
{
    const QVariantList a = arguments + QVariantList{{}, {}};
    QVariant result;
    QObject *axis = timeAxis();
    switch (arguments.size()) {
    case 0:
        QMetaObject::invokeMethod(axis, function, Q_RETURN_ARG(QVariant, result));
        break;
    case 1:
        QMetaObject::invokeMethod(axis, function, Q_RETURN_ARG(QVariant, result),
                                  Q_ARG(QVariant, a.at(0)));
        break;
    default:
        QMetaObject::invokeMethod(axis, function, Q_RETURN_ARG(QVariant, result),
                                  Q_ARG(QVariant, a.at(0)), Q_ARG(QVariant, a.at(1)));
    }
    return result;
}

qreal PagesFixture::indicator() const
{
    auto *indicator = axis("upIndicator").value<QQuickItem *>();
    return indicator->x() + indicator->width() / 2 - axis("listViewLeftMargin").toReal();
}

QStringList PagesFixture::warnings() const
{
    QStringList found = m_warnings;
    for (QtMsgType level : {QtWarningMsg, QtCriticalMsg}) {
        for (const QString &text : m_log.texts(level)) {
            if (text.contains(QLatin1String("qrc:")) || text.contains(QLatin1String("QML"))) {
                found.append(text);
            }
        }
    }
    return found;
}

QQuickItem *PagesFixture::control(const QString &accessibleName)
{
    QQuickItem *found = nullptr;
    for (QWindow *window : QGuiApplication::allWindows()) {
        auto *quick = qobject_cast<QQuickWindow *>(window);
        if (!quick || !quick->isVisible()) {
            continue;
        }
        visit(quick->contentItem(), [&](QQuickItem *item) {
            QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
            if (!found && accessible && accessible->text(QAccessible::Name) == accessibleName) {
                found = item;
            }
        });
    }
    return found;
}

void PagesFixture::showDialog(const QByteArray &flagOrButton)
{
    if (!flagOrButton.startsWith("Button_")) {
        root()->setProperty(flagOrButton, true);
        return;
    }
    root()->setProperty("settingsPageVisible", true);
    QQuickItem *button =
        control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(flagOrButton));
    if (button && QTest::qWaitForWindowExposed(button->window(), 20000)) { // it is laid out
        click(button);
    }
}

QQuickWindow *PagesFixture::dialog(const QString &title)
{
    for (QWindow *window : QGuiApplication::allWindows()) {
        auto *quick = qobject_cast<QQuickWindow *>(window);
        if (quick && quick->isVisible() && quick->title() == title) {
            return quick;
        }
    }
    return nullptr;
}

QPoint PagesFixture::at(QQuickItem *item, const QPointF &point)
{
    return item->mapToScene(point).toPoint();
}

QPoint PagesFixture::centreOf(QQuickItem *item)
{
    return at(item, QPointF(item->width() / 2, item->height() / 2));
}

void PagesFixture::click(QQuickItem *item)
{
    QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, centreOf(item));
}

void PagesFixture::visit(QQuickItem *item, const std::function<void(QQuickItem *)> &visitor)
{
    if (!item || !item->isVisible()) {
        return;
    }
    visitor(item);
    for (QQuickItem *child : item->childItems()) {
        visit(child, visitor);
    }
}

QStringList PagesFixture::texts(QQuickWindow *window)
{
    QStringList found;
    visit(window->contentItem(), [&found](QQuickItem *item) {
        if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) {
            found.append(item->property("text").toString());
        }
    });
    return found;
}

QPoint PagesFixture::onAxis(qreal visibleX) const
{
    auto *item = qobject_cast<QQuickItem *>(timeAxis());
    const qreal y = axis("barTop").toReal() + axis("timeAxisHeight").toReal() / 2;
    return at(item, QPointF(axis("listViewLeftMargin").toReal() + visibleX, y));
}

void PagesFixture::hover(const QPoint &point)
{
    QTest::mouseMove(&view, point);
}

QList<AppItemInfo> runsOfFrames(const QVector<int> &frames)
{
    static const char *const names[] = {"Editor", "Browser", "Terminal", "Mail", "Pictures"};
    QList<AppItemInfo> runs;
    for (int count : frames) {
        AppItemInfo run;
        run.appName = QLatin1String(names[runs.size() % 5]);
        run.appIcon = QStringLiteral("application-x-desktop");
        run.timeLength = count * 8;
        runs.append(run);
    }
    return runs;
}

TestDay dayAgo(int days, const QVector<int> &frames)
{
    const QDate date = QDate::currentDate().addDays(-days);
    return {date.toString(QStringLiteral("yyyy/MM/dd")), runsOfFrames(frames)};
}
