#pragma once
// The program as its user has it before the eyes: started on a desktop, found by what it tells the
// accessibility bus, read from the screen. Main thread of a test.

#include "window/accessibletree.h"
#include "window/desktop.h"

#include <QProcess>

class ShownProgram
{
public:
    explicit ShownProgram(const Desktop &desktop);
    ~ShownProgram(); ///< kills it if it still runs
    Q_DISABLE_COPY_MOVE(ShownProgram)

    /// Starts it and waits until its window has the input focus. False if that takes too long.
    bool start();

    /// Orders it to end and waits. False if it does not end with 0.
    bool stop();
    bool waitForEnd(int milliseconds = 30000);
    QString path() const { return m_process.program(); }
    qint64 processId() const { return m_process.processId(); }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    int exitCode() const { return m_process.exitCode(); }
    QString log() const { return QString::fromUtf8(m_output); }

    /// Whether a window of the program has the input focus.
    bool isInFront() const;

    /// Everything in its shown windows.
    QVector<AccessibleTree::Node> nodes(bool hiddenToo = false) const;

    /// The control whose name ends in @p shortName, such as "Button_menu", in @p window, or in any.
    /// One that does not exist if it is not shown.
    AccessibleTree::Node control(const QString &shortName, const QString &window = {}) const;

    /// Waits for a control and clicks on its middle.
    bool click(const QString &shortName, const QString &window = {}) const;

    /// The window with that name; one that does not exist if it is not shown.
    AccessibleTree::Node window(const QString &name = QStringLiteral("Yestermark")) const;
    bool hasWindow(const QString &name) const { return window(name).exists(); }

    /// Opens the program's menu and chooses an entry, such as "about". False if it does not open.
    bool choose(const QString &entry) const;

    /// Short name of the control that has the input focus.
    QString focus() const;

    // The past on show. Points are in device pixels of the screen.

    /// The large picture's number; -1 if there is none.
    int picture() const;
    /// The number of the small one at the pointer; -1 if there is none.
    int preview() const;
    /// Where the slider's middle lies; a null point if it is hidden.
    QPoint slider() const;
    /// The dates on the axis that lie on the screen, without their dots, from left to right.
    QStringList days() const;
    /// The same of all days that were loaded so far.
    QStringList loadedDays() const;
    /// The point on the axis @p pixels to the right of the first bar's beginning of the day that
    /// the axis calls @p date; a null point if that date is not shown.
    QPoint onAxis(const QString &date, int pixels) const;

private:
    QVector<AccessibleTree::Node> dates(bool hiddenToo = false) const;
    int numberIn(const QRect &area) const;

    const Desktop &m_desktop;
    AccessibleTree m_tree;
    QProcess m_process;
    QByteArray m_output;
};
