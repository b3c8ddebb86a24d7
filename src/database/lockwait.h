#pragma once
// How long a statement waits for a file that another process, such as a backup or a database
// browser, has locked. Owner: the function that runs the statement, on its stack. Thread: the one
// that made it.
//
// The waits lie between the calls of SQLite and not within them: within one the connection is
// taken, and the statements of other threads would stand behind it, each with a wait of its own to
// come.

#include <QElapsedTimer>

#include <atomic>

class LockWait
{
public:
    /// A row must not be lost to a lock, and a read must not come back empty, so both wait. Past
    /// this time the main thread has stood still for long enough, and the statement fails.
    static constexpr int LONGEST_MS = 5000;
    /// How long a call itself waits, with the connection taken: one that writes keeps new readers
    /// of other processes out meanwhile, so that it gets its turn.
    static constexpr int WITHIN_A_CALL_MS = 100;

    /// What the waits of a sequence of calls know of each other: whether the last was in vain.
    using Memory = std::atomic<bool>;

    /// After a wait in vain the next ones with the same @p memory end at once, until a step finds
    /// the file free. Null: this wait is on its own.
    explicit LockWait(Memory *memory) : m_memory(memory) {}

    /// Whether a call that gave @p result, any of SQLite's codes, is to be made again. Sleeps some
    /// milliseconds if so. False at once in a StoppableScan that is to stop.
    bool isToGoOn(int result);

private:
    bool isOver();
    void remember(bool wasInVain);

    Memory *m_memory;
    QElapsedTimer m_clock; ///< from the first call that found the file locked
};
