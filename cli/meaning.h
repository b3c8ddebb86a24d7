#pragma once
// The frames that mean what a text says: its vector from the on-device AI runtime, the nearest ones
// from the store of vectors. Owner: the command, on its stack. Main thread; blocks while the
// runtime starts, some seconds at most.

#include "database/screenshotdata.h"

#include <QVector>

#include <optional>

class Meaning
{
public:
    enum class Outcome {
        Found,
        NoRuntime,   ///< not installed, or it gives no vector
        NoVectors,   ///< none has been stored
        Unsearchable ///< errorText() tells
    };

    /// Looks in the store of vectors in @p folder.
    explicit Meaning(QString folder) : m_folder(std::move(folder)) {}

    /// The best first, at most 5000; they bear video, index and time alone.
    Outcome find(const QString &text, QVector<ScreenShotData> &frames);

    QString errorText() const { return m_error; }

private:
    QString m_folder;
    QString m_error;
};
