#pragma once
// What tests of the extractor share: a folder of their own with a full video in it, and a system
// that tells an empty production line. Owner: the test program, which derives from it. Main thread.

#include <QObject>
#include <QTemporaryDir>

namespace ExtractorWorld
{
constexpr int BATCH = 100; // a full video

bool copyOver(const QString &source, const QString &target);
} // namespace ExtractorWorld

class ExtractorFixture : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    void initTestCase();
    void init();

protected:
    QString path(const QString &name) const { return m_directory.filePath(name); }

    QString m_full; ///< a full video, small, set up as the composer's

private:
    QTemporaryDir m_directory;
};
