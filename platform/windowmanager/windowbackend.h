#pragma once
// What tdk::WindowManager needs of a display system: one implementation for each protocol that
// tells of windows, and one that does nothing politely. Owned by tdk::WindowManager; main thread.
// No call waits for anything. Ids are valid variants, of a type that is the backend's own matter.

#include <QObject>
#include <QString>
#include <QVariant>

class WindowBackend : public QObject
{
    Q_OBJECT

public:
    /// What stands behind it, for a log.
    virtual QString name() const = 0;

    /// Empty for an unknown id.
    virtual QString title(const QVariant &id) const = 0;

    /// 0 for an unknown id or where the protocol does not tell.
    virtual int processId(const QVariant &id) const = 0;

    /// Raises, restores and focuses; an unknown id is ignored.
    virtual void activate(const QVariant &id) = 0;

    /// An unknown id is ignored.
    virtual void minimize(const QVariant &id) = 0;

Q_SIGNALS:
    /// Once a window, when its title and process id can be asked for; never from within the
    /// constructor, so that nobody misses the windows that were there already.
    void windowAdded(const QVariant &id);
};
