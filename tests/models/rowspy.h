#pragma once
// The row signals of a list model as texts, in order: "insert 0-2", "inserted 0-2", "remove 0-2",
// "removed 0-2", "changed 0-2". Main thread.

#include <QAbstractItemModel>
#include <QStringList>

#include <utility>

class RowSpy : public QObject
{
public:
    explicit RowSpy(const QAbstractItemModel &model)
    {
        connect(&model, &QAbstractItemModel::rowsAboutToBeInserted, this,
                [this](const QModelIndex &, int first, int last) { note("insert", first, last); });
        connect(
            &model, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) { note("inserted", first, last); });
        connect(&model, &QAbstractItemModel::rowsAboutToBeRemoved, this,
                [this](const QModelIndex &, int first, int last) { note("remove", first, last); });
        connect(&model, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex &, int first, int last) { note("removed", first, last); });
        connect(&model, &QAbstractItemModel::dataChanged, this,
                [this](const QModelIndex &first, const QModelIndex &last) {
                    note("changed", first.row(), last.row());
                });
        connect(&model, &QAbstractItemModel::modelReset, this, [this] { note("reset", 0, 0); });
    }

    /// What was told since the last call.
    QStringList take() { return std::exchange(m_notes, {}); }

private:
    void note(const char *what, int first, int last)
    {
        m_notes.append(QStringLiteral("%1 %2-%3").arg(QLatin1String(what)).arg(first).arg(last));
    }

    QStringList m_notes;
};
