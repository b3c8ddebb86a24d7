#pragma once
// How a download or an installation ended. Plain value, any thread.

#include <QMetaType>
#include <QString>

struct InstallResult {
    enum Kind {
        Done,
        Cancelled,
        NoClient,     ///< the program that speaks to the registry is not installed
        Unreachable,  ///< no network, or the registry does not answer
        NotThere,     ///< the registry does not have the file
        WrongContent, ///< size or sum are not those of the list
        NoSpace,
        NotWritable, ///< the model folder cannot be made or written to
        Busy,        ///< another installation is under way
        Failed       ///< anything else
    };

    Kind kind = Done;
    QString detail; ///< not translated: a path, a program's own words; may be empty

    bool isDone() const { return kind == Done; }
};

Q_DECLARE_METATYPE(InstallResult)
