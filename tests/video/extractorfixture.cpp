#include "extractorfixture.h"
#include "productionline.h"
#include "samplevideos.h"
#include "videofacts.h"

#include <QFile>
#include <QtTest>

namespace ExtractorWorld
{
bool copyOver(const QString &source, const QString &target)
{
    QFile::remove(target);
    return QFile::copy(source, target);
}
} // namespace ExtractorWorld

using namespace ExtractorWorld;

void ExtractorFixture::initTestCase()
{
    m_full = path(QStringLiteral("full.mp4"));
    SampleVideo video;
    video.frames = BATCH;
    video.bFrames = -1;
    QVERIFY(video.write(m_full));
    QVector<int> groups;
    for (int group = 0; group < BATCH; group += 10) {
        groups += group;
    }
    QCOMPARE(VideoFacts::of(m_full).keyFrames, groups);
}

void ExtractorFixture::init()
{
    ProductionLine::set("");
}
