#include "trackerfixture.h"

#include "ai/aiabilityprovider.h"
#include "database/storedhistory.h"
#include "support/fakeclock.h"
#include "support/pictures.h"

#include <QTest>

using CaptureFixture::filesIn;
using CaptureFixture::storedRows;
using CaptureFixture::todayDirectory;
using StoredHistory::pathOf;

void TrackerFixture::initTestCase()
{
    StoredHistory::openVectorStore();
    QTRY_VERIFY_WITH_TIMEOUT(
        !AIAbilityProvider::getInstance()->embeddingImage(Pictures::numbered(0)).isEmpty(), 20000);
    m_application =
        std::make_unique<CaptureFixture::Application>(CaptureFixture::Application::FileManager);
    m_desktop = std::make_unique<FakeDesktop>();
    m_desktop->setActivePid(m_application->pid());
}

void TrackerFixture::init()
{
    FakeClock::freeze(m_now);
    StoredHistory::eraseEverything();
    m_next = 0;
}

void TrackerFixture::cleanup()
{
    m_tracker.reset();
    FakeClock::reset();
}

void TrackerFixture::keep(int count)
{
    for (int frame = 0; frame < count; ++frame) {
        m_tracker->screenshotReady(Pictures::numbered(++m_next));
        FakeClock::advance(secondsBetweenFrames);
    }
}

void TrackerFixture::closeVideo()
{
    const QString video = pathOf(storedRows().last().videoName);
    m_tracker->convertRemainedImagesToVideo();
    m_tracker->resetVideoStates();
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(video) &&
                                 filesIn(todayDirectory(), QStringLiteral("*.png")).isEmpty(),
                             encodingMs);
}

int TrackerFixture::readNumber(const QString &video, uint index)
{
    const QImage image = m_tracker->getImageFromVideoFile(video, index);
    return image.isNull() ? -1 : Pictures::numberOf(image);
}
