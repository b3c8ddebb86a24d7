#pragma once
// The FFmpeg and C library calls of a test program, which fail or kill the process on command and
// note the order in which they were made. The program's own definitions stand before those of the
// libraries, so the code under test is the real one. Any thread.

#include <QStringList>
#include <QVector>

namespace LibraryFaults
{
enum class Fault {
    Fails,  ///< the call gives its failure result
    Kills,  ///< the process is gone, as by kill -9, before the call
    Spoils, ///< av_frame_get_buffer succeeds and leaves no data
};

/// The @p number th call (from 1) of @p function after this meets @p fault; 0 means every call.
void arm(const QString &function, int number, Fault fault = Fault::Fails);

/// The @p number th call (from 1) of @p function after this fails, and so do all behind it.
void armFrom(const QString &function, int number);

/// The process is gone, as by kill -9, before the @p number th call (from 1) of any of the
/// functions after this.
void dieAtCall(int number);

/// No more faults; forgets the noted calls.
void disarm();

/// The calls since disarm() of the functions that belong to the finishing of a batch, in order;
/// fsync, unlink and rename with the names of their files.
QStringList finishingCalls();

/// What stood in the stream when the last header was written, such as
/// "time base 1/1, average rate 1/1".
QString streamAtHeader();

/// How the encoder opened last was set up, such as "640x480 yuv420p, time base 1/1, frame rate 1/1,
/// group 10, global header, tune , no options".
QString encoderAtOpen();

/// Every scaler made since disarm(), such as "320x240 bgra to 640x480 yuv420p, bicubic".
QStringList scalings();

/// The durations in seconds of the packets handed over for writing since disarm().
QVector<double> packetDurations();

/// The durations in seconds that the encoder gave those packets.
QVector<double> receivedDurations();
} // namespace LibraryFaults
