#include "videoinfofixture.h"

#include "support/fakeclock.h"

#include <QGSettings>

void VideoInfoFixture::init()
{
    FakeClock::set(QDateTime(QDate(2024, 3, 15), QTime(12, 0)));
    DataHandlerDouble::reset();
    QGSettings("com.tavel.yestermark").reset("enabled");
    QGSettings("com.tavel.yestermark").reset("recordingMemory");
    QGSettings("org.vesk.control-center.panel.plugins").reset("hoursystem");
}

void VideoInfoFixture::cleanup()
{
    m_facade.reset();
    FakeClock::reset();
}
