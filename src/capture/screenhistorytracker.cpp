#include "capture/screenhistorytracker.h"

#include "ai/aiabilityprovider.h"
#include "ai/imageutils.h"
#include "database/databasemanager.h"
#include "database/dataencryptor.h"
#include "database/daytext.h"
#include "database/screenshotdata.h"
#include "video/videocomposer.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QTime>

#include <algorithm>

namespace
{
constexpr int defaultIntervalMs = 5000;
// Above this share of matched key points a frame shows nothing new.
constexpr double sameFrameSimilarity = 0.8;

// The encoder takes four bytes a pixel for granted: blue, green, red and one more.
QImage encodable(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return image;
    default:
        return image.convertToFormat(QImage::Format_RGB32);
    }
}

// Directories of the days before @p end in which pictures wait for their video.
QStringList daysWithImages(const QString &root, const QString &end)
{
    QStringList paths;
    for (const QString &month : QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QDir days(root + QLatin1Char('/') + month);
        for (const QString &day : days.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QDir directory(days.filePath(day));
            if (day < end &&
                !directory.entryList({QStringLiteral("*.mp4_*.png")}, QDir::Files).isEmpty()) {
                paths << directory.path();
            }
        }
    }
    return paths;
}
} // namespace

ScreenHistoryTracker::ScreenHistoryTracker(QObject *parent)
    : QObject(parent)
    , m_isWayland(QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
    , m_today(DayText::ofDate(QDate::currentDate()))
    , m_videoComposer(new VideoComposer(nullptr))
    , m_aiAbilityProvider(AIAbilityProvider::getInstance())
    , m_databaseManager(DatabaseManager::getInstance())
    , m_dataEncryptor(DataEncryptor::getInstance())
    , m_lastCheckTime(QDateTime::currentDateTime())
{
    m_uptime.start();
    m_images.reserve(m_maxFramesPerVideo);
    initComposer();
    // A search that is given up need not be waited for until its frame is decoded.
    m_frameExtractor.setStop([] { return QThread::currentThread()->isInterruptionRequested(); });
    initTodayData();
    initTimer();
    connectRecognizedText();
    connectCompositor();
    m_videoStorageDir = getVideoStorageDir();
    recoverLeftImages();
}

ScreenHistoryTracker::~ScreenHistoryTracker()
{
    convertRemainedImagesToVideo();
    m_composerThread.requestInterruption();
    m_composerThread.quit();
    m_composerThread.wait();
}

void ScreenHistoryTracker::initComposer()
{
    m_composerThread.setObjectName(QStringLiteral("encoder"));
    m_videoComposer->moveToThread(&m_composerThread);
    connect(&m_composerThread, &QThread::finished, m_videoComposer, &QObject::deleteLater);
    m_composerThread.start(QThread::InheritPriority);
}

void ScreenHistoryTracker::initTimer()
{
    m_screenshotTimer.setInterval(defaultIntervalMs);
    connect(&m_screenshotTimer, &QTimer::timeout, this, &ScreenHistoryTracker::onIntervalElapsed);
}

void ScreenHistoryTracker::connectRecognizedText()
{
    // Emitted on the AI runtime's thread, so the record comes here queued and by value.
    connect(m_aiAbilityProvider, &AIAbilityProvider::screenshotOCRDataReady, this,
            [this](const ScreenShotData &record) {
                m_databaseManager->updateScreenshotOCRText(record);
            });
}

void ScreenHistoryTracker::recoverLeftImages()
{
    const QString root = m_videoStorageDir.section(QLatin1Char('/'), 0, -3);
    const QString folder = findLatestFolder(root);
    // An empty path would name the working directory.
    if (!folder.isEmpty()) {
        m_videoComposer->convertLocalImageFilesToVideo(folder);
        recoverImagesBefore(QFileInfo(folder).fileName(), root);
    }
}

// What a kill left in the last minutes of a day, or a full disk. Neither the newest day, which is
// done, nor the day that is recorded now is among them.
void ScreenHistoryTracker::recoverImagesBefore(const QString &day, const QString &root)
{
    const QString end = std::min(day, m_today);
    QMetaObject::invokeMethod(m_videoComposer, [composer = m_videoComposer, root, end] {
        for (const QString &folder : daysWithImages(root, end)) {
            if (QThread::currentThread()->isInterruptionRequested()) {
                return; // the next start goes on
            }
            composer->convertLocalImageFilesToVideo(folder);
        }
    });
}

void ScreenHistoryTracker::onIntervalElapsed()
{
    m_intervalElapsed = true;
    if (m_timerOnly) {
        processScreenShot();
    }
}

void ScreenHistoryTracker::screenContentChangedSlot(double imageChangeRate)
{
    Q_UNUSED(imageChangeRate)
    if (m_intervalElapsed) {
        m_intervalElapsed = false;
        processScreenShot();
    }
}

bool ScreenHistoryTracker::shouldTakeScreenShot()
{
    if (QGuiApplication::focusObject()) {
        return false;
    }
    if (m_isScreenLocked) {
        return false;
    }
    const QDateTime now = QDateTime::currentDateTime();
    if (now < m_lastCheckTime) {
        qWarning() << "Warning: Time travel detected";
        Q_EMIT backInTimeDetected();
        return false;
    }
    m_lastCheckTime = now;
    return true;
}

void ScreenHistoryTracker::processScreenShot()
{
    if (!shouldTakeScreenShot()) {
        return;
    }
    const QImage image = takeScreenShot();
    if (image.isNull()) {
        qWarning() << "Failed to take screenshot";
        m_storingWatch.lost(StoringWatch::Loss::NoPicture, m_uptime.elapsed());
        return;
    }
    screenshotReady(image);
}

QImage ScreenHistoryTracker::takeScreenShot()
{
    QImage image = getScreenShotFromWM();
    QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen) {
        return encodable(image); // the last screen was unplugged
    }
    if (m_isWayland) {
        image.setDevicePixelRatio(screen->devicePixelRatio());
    }
    if (image.isNull()) {
        image = screen->grabWindow(0, 0, 0, -1, -1).toImage();
    }
    return encodable(image);
}

void ScreenHistoryTracker::screenshotReady(const QImage &image)
{
    if (!m_lastFrame.isNull() && calculateSimilar(m_lastFrame, image) > sameFrameSimilarity) {
        return;
    }
    const QString appEntry = getAppDesktopEntry();
    if (appEntry.isEmpty()) {
        m_storingWatch.lost(StoringWatch::Loss::NoApplication, m_uptime.elapsed());
        return;
    }
    if (appEntry != m_currentApp) {
        m_currentApp = appEntry;
        Q_EMIT activeAppChanged(m_currentApp);
    }
    m_lastFrame = image;
    updateVideoFile(image);
    storeFrame(image, appEntry);
}

QString ScreenHistoryTracker::safetyCopyOf(const QString &video, int frameIndex)
{
    return QStringLiteral("%1_%2.png").arg(video).arg(frameIndex, 3, 10, QLatin1Char('0'));
}

void ScreenHistoryTracker::storeFrame(const QImage &image, const QString &appEntry)
{
    ScreenShotData record;
    record.videoName = m_videoFile.section(QLatin1Char('/'), -1);
    record.frameIndexOfVideo = static_cast<quint32>(m_videoFrameNumber);
    record.realTime = QDateTime::currentDateTime().toSecsSinceEpoch();
    record.desktopFilePath = appEntry;
    record.frameIndexOfDay = m_todayFrameNumber;
    record.ocrText =
        QLatin1String(""); // not null: the column tells "not read yet" by its emptiness

    // The ceiling, or the user, may have removed today's directory since the video was named.
    QDir().mkpath(m_videoStorageDir);
    const bool hasCopy = image.save(m_videoStorageDir + QLatin1Char('/') +
                                    safetyCopyOf(record.videoName, m_videoFrameNumber));
    // The row stands before any result of the AI abilities: they only add to it.
    const bool hasRow = m_databaseManager->saveScreenShotData(record);
    if (hasCopy && hasRow) {
        m_storingWatch.stored();
    } else {
        m_storingWatch.lost(StoringWatch::Loss::NotWritten, m_uptime.elapsed());
    }
    requestMeaning(image, record);
}

void ScreenHistoryTracker::requestMeaning(const QImage &image, ScreenShotData &record)
{
    Q_EMIT m_aiAbilityProvider->requestScreenshotOCRData(image, record);

    const QTime before = QTime::currentTime();
    const QVector<float> embedding = m_aiAbilityProvider->embeddingImage(image);
    const int elapsed = before.msecsTo(QTime::currentTime());
    qDebug() << "Frame:" << record.frameIndexOfVideo << "Embedding image elapsed:" << elapsed
             << "ms";
    m_databaseManager->saveScreenShotEmbedding(embedding, record);
}

void ScreenHistoryTracker::setRecordingMemory(bool isRecordingMemory)
{
    qDebug() << "ScreenHistoryTracker setRecordingMemory to"
             << (isRecordingMemory ? "true" : "false");
    m_storingWatch.reset();
    if (isRecordingMemory) {
        m_screenshotTimer.start();
    } else {
        m_screenshotTimer.stop();
    }
}

void ScreenHistoryTracker::setScreenshotInterval(uint interval)
{
    qDebug() << "ScreenHistoryTracker setScreenshotInterval to" << interval;
    m_screenshotTimer.setInterval(static_cast<int>(interval * 1000));
}

void ScreenHistoryTracker::onScreenLockSignal()
{
    m_isScreenLocked = true;
}

void ScreenHistoryTracker::onScreenUnLockSignal()
{
    m_isScreenLocked = false;
}
