#pragma once
// The pages' searches over a history that is told what it finds. Owner: the test program, which
// derives from it. Main thread; Notes any.

#include "facade.h"

#include <QAbstractListModel>
#include <QObject>
#include <QTest>

#include <memory>
#include <mutex>

namespace SearchWorld
{
constexpr qint64 firstTime = 1700000000;

/// Frames of one loaded day whose numbers are their places in the list of hits, from 1.
QVector<ScreenShotData> hits(int count, const QString &video = QStringLiteral("v.mp4"));

/// A picture that numberOf() knows again; -1 for none.
QImage pictureOf(unsigned int frame);
int numberOf(const QImage &image);

VideoPreviewItem *itemOf(QAbstractListModel *model, int row);

/// Of the rows of @p model, and of hits from place to place as they should be.
QStringList sourcesOf(QAbstractListModel *model);
QStringList sources(const QString &kind, int first, int last, const QString &generation);

/// What happens on the search's thread, written down there and read on the test's.
class Notes
{
public:
    void add(const QString &note);
    QStringList take();
    int count(const QString &note) const;

private:
    mutable std::mutex m_mutex; // not QMutex, which the thread sanitizer does not see
    QStringList m_notes;
};
} // namespace SearchWorld

class SearchFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

protected:
    void awaitRows(QAbstractListModel *model, int rows)
    {
        QTRY_COMPARE_WITH_TIMEOUT(model->rowCount(), rows, 20000);
    }

    QAbstractListModel *texts() { return m_facade->info.textMatchResultModel(); }
    QAbstractListModel *pictures() { return m_facade->info.imageMatchResultModel(); }

    std::unique_ptr<Facade> m_facade;
};
