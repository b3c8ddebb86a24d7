#pragma once
// What the rest of the program asks about the stored history. Owner: the backend, by value.
// Thread: main.

#include <QObject>

class DatabaseManager;

class DataHandler : public QObject
{
    Q_OBJECT

public:
    explicit DataHandler(QObject *parent = nullptr);

    /// Whether the frame saved last lies after the present: the clock has been set back. Logs a
    /// warning if so.
    bool backInTimeDetected();

private:
    DatabaseManager *m_databaseManager;
};
