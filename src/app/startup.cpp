#include "app/startup.h"

#include "ai/ocrtextdata.h"
#include "database/screenshotdata.h"
#include "models/videopreviewimageitem.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QLocale>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QQuickWindow>
#include <QTranslator>

#include <csignal>

namespace
{
volatile std::sig_atomic_t interrupted = 0;

// Mesa's drivers without a graphics processor draw every frame whole: a step along the axis takes
// 70 ms of CPU at 1920x1080, where the toolkit's own painting of what changed takes 2.
bool isDrawnByTheProcessor(QOpenGLContext *context)
{
    QOffscreenSurface surface;
    surface.create();
    if (!context->makeCurrent(&surface)) {
        return false;
    }
    const QByteArray name(
        reinterpret_cast<const char *>(context->functions()->glGetString(GL_RENDERER)));
    context->doneCurrent();
    return name.startsWith("llvmpipe") || name.startsWith("softpipe");
}
} // namespace

void addPrivatePluginPath()
{
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() +
                                     QLatin1String("/../" YESTERMARK_PLUGINDIR));
}

void makeOwnCommandsKnown()
{
    QByteArray path = qgetenv("PATH");
    if (!path.isEmpty()) { // an entry without a name would be the working directory
        path += ':';
    }
    qputenv("PATH", path + QFile::encodeName(QCoreApplication::applicationDirPath()));
}

void chooseRenderer()
{
    QOpenGLContext context;
    if (!context.create()) {
        qWarning() << "OpenGL is not available: pages are drawn in software";
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    } else if (isDrawnByTheProcessor(&context)) {
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    }
}

void installTranslation(QTranslator *translator)
{
    const QString file = QLatin1String("/usr/share/tavel-ai-yestermark/translations/") +
                         QCoreApplication::applicationName() + QLatin1Char('_') +
                         QLocale::system().name();
    if (translator->load(file, QString(), QString(), QString())) {
        QCoreApplication::installTranslator(translator);
    }
}

void installSignalHandlers()
{
    std::signal(SIGTERM, signalHandler);
    std::signal(SIGINT, signalHandler);
    std::signal(SIGHUP, signalHandler);
}

void signalHandler(int signal)
{
    interrupted = 1;
    qDebug() << "Interrupt signal (" << signal << ") received.";
    QCoreApplication::exit(0);
}

bool wasInterrupted()
{
    return interrupted != 0;
}

bool startsHidden()
{
    return QCoreApplication::arguments().value(1) == QLatin1String("--hidden");
}

void registerMetaTypes()
{
    qRegisterMetaType<ScreenShotData>("ScreenShotData");
    qRegisterMetaType<ScreenShotData>("ScreenShotData&");
    qRegisterMetaType<QVector<OCRTextData>>("QVector<OCRTextData>");
    qRegisterMetaType<VideoPreviewImageItem>("VideoPreviewImageItem");
}
