#pragma once
// Where the history of the user who runs this process lies, seen from outside: in the encrypted box
// where that is open, else below the cache directory. Plain value, asked for once. Any thread.
// Nothing is made, and no box is opened.

#include <QString>

struct StorePlace {
    bool isEncrypted = false; ///< it lies in the box
    bool isBoxClosed = false; ///< there is a box, but it is not open: what is in it cannot be seen
    QString screenshots;      ///< root of the frames; these three without a closing "/"
    QString databases;        ///< of the months
    QString vectors;

    /// Whether anything at all is stored here.
    bool exists() const;

    /// The directory of the frames of a day "yyyy-MM-dd", or of a video's name.
    QString folderOfDay(const QString &dayOrVideo) const;

    /// Whether something that is made at @p path would stand among the history's own files.
    bool holds(const QString &path) const;

    static StorePlace find();
};
