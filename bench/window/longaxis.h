#pragma once
// A store of many days with many short runs, to scroll through. Plain function; main thread. Needs
// a QGuiApplication: the video that all days share has the screen's size.

#include <QDate>
#include <QString>

namespace LongAxis
{
struct Size {
    int days = 400;
    int runsOfDay = 200;
    QDate lastDay;
};

/// Makes the store below @p home. Runs have one to three frames, of twelve applications in turn.
/// Ends the program with a message if it cannot.
void make(const QString &home, const Size &size);
} // namespace LongAxis
