#pragma once
// The pages' way in over an empty history, with the settings of a first start. A test fills the
// history, then makes the way in. Owner: the test program, which derives from it. Main thread.

#include "facade.h"

#include <QAbstractListModel>
#include <QObject>

#include <memory>

class VideoInfoFixture : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    void init();
    void cleanup();

protected:
    QAbstractListModel *days() const { return m_facade->info.dayAppModel(); }

    std::unique_ptr<Facade> m_facade;
};
