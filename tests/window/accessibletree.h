#pragma once
// What a screen reader gets to know of a program, over the real accessibility bus. Main thread of a
// test.

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QRect>
#include <QString>
#include <QVector>

class AccessibleTree
{
public:
    struct Node {
        QString name;
        QString description;
        QString role;   ///< as the bus calls it, such as "push button"
        QString window; ///< name of the window that it is in
        QRect extents;  ///< on the screen, in device pixels
        bool isShowing = false;
        bool isFocusable = false;
        bool isFocused = false;
        bool isChecked = false;
        QString service; ///< where it is asked: the program's name on the bus
        QString path;    ///< and the node's
        bool exists() const { return !role.isEmpty(); }
    };

    /// @p session is the session bus; the program answers in units of @p scale device pixels.
    explicit AccessibleTree(const QDBusConnection &session, int scale = 1);
    ~AccessibleTree();
    Q_DISABLE_COPY_MOVE(AccessibleTree)

    /// Windows of the program @p name that are shown and all that is in them, in the order of the
    /// tree; with @p hiddenToo also what is not shown. Empty while the program is not there.
    QVector<Node> nodes(const QString &name, bool hiddenToo = false) const;

    /// Acts on a control as a screen reader does: "Press" on a button, "Toggle" on what is checked.
    /// False if it knows no such action.
    bool act(const Node &control, const QString &action) const;

private:
    struct Place {
        QString service;
        QString path;
    };
    /// Answers of one thing to all that is asked of it, on their way.
    struct Answers;

    QDBusPendingCall ask(const Place &place, const char *interface, const char *method,
                         const QVariantList &arguments = {}) const;
    Answers askAll(const Place &place) const;
    Node nodeOf(const Place &place, const Answers &answers) const;
    void collect(const QVector<Place> &places, const QString &window, bool hiddenToo,
                 QVector<Node> *nodes) const;

    QString m_connectionName;
    QDBusConnection m_bus;
    int m_scale;
};
