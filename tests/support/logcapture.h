#pragma once
// Collects what the code under test logs through Qt's message functions, so that required texts
// can be asserted. One at a time, made on the stack of a test; messages may come from any thread.

#include <QStringList>
#include <QtGlobal>

#include <mutex>

class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    Q_DISABLE_COPY(LogCapture)

    /// Every message text so far, in order.
    QStringList texts() const;

    /// The texts of one level only, in order.
    QStringList texts(QtMsgType level) const;

    /// How many messages of this level contain @p part.
    int count(QtMsgType level, const QString &part) const;

    bool contains(QtMsgType level, const QString &part) const { return count(level, part) > 0; }

    void clear();

private:
    struct Entry {
        QtMsgType level;
        QString text;
    };
    static void handle(QtMsgType level, const QMessageLogContext &context, const QString &text);

    static LogCapture *s_active;
    mutable std::mutex m_mutex; // not QMutex, which the thread sanitizer does not see
    QVector<Entry> m_entries;
    QtMessageHandler m_previous = nullptr;
};
