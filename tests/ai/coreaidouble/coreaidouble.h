#pragma once
// Stands in a test program for both client libraries of the AI runtime, whose C functions it
// defines: every behaviour, good or bad, is scripted here, and every call is written down. No
// runtime is started. A script holds for the whole process; functions may be called from any
// thread.

#include <QByteArray>
#include <QPoint>
#include <QStringList>
#include <QVector>

#include <functional>

namespace CoreAiDouble
{
/// One line of a recognised picture.
struct Line {
    QByteArray text;
    QVector<QPoint> corners;
    bool hasCorners = true; ///< false: the runtime gives none
};

/// What the runtime answers to one picture.
struct Reading {
    QVector<Line> lines; ///< none: the runtime gives no array
    bool isNull = false; ///< the result handle is null
    int times = 1;       ///< how often it is delivered; a sound runtime does it once
};

/// Reads an encoded picture; runs on the session's own thread.
using Reader = std::function<Reading(const QByteArray &encoded)>;

/// Embeds a picture (base64) or a text; runs on the caller's thread. An empty vector makes a result
/// of length 0.
using Embedder = std::function<QVector<float>(const QByteArray &input)>;

/// Forgets script and calls: everything succeeds, pictures have no text, vectors have 1024 zeros.
void reset();

/// From now on no session of this kind can be made.
void refuseVisionSessions();
void refuseEmbeddingSessions();

/// The next @p times starts fail with @p status.
void failVisionStarts(int times, int status);
void failEmbeddingStarts(int times);

/// Starts and answers wait until they are released. Held answers are delivered in order.
void holdStarts();
void releaseStarts();
void holdAnswers();
void releaseAnswers();

void setReader(const Reader &reader);
void setEmbedder(const Embedder &embedder);

/// From now on every embedding fails.
void failEmbeddings();

/// The functions called so far in order, each followed by its plain arguments, such as
/// "text_recognition_model_config_set_name vision". Getters of results are left out.
QStringList calls();

/// What was handed over so far.
QVector<QByteArray> readPictures();
QVector<QByteArray> embeddedPictures();
QVector<QByteArray> embeddedTexts();

/// Embedding results that nobody has destroyed yet.
int livingResults();
} // namespace CoreAiDouble
