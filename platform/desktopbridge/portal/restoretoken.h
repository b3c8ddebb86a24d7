#pragma once
// The word by which the portal knows that the user has already said yes, kept so that the question
// comes once. Each word is good for one session, whose start gives the next one. Owned by
// PortalCast; main thread.

#include <QString>

class RestoreToken
{
public:
    /// In @p file, of mode 0600 in a folder of mode 0700, both made when they are needed.
    explicit RestoreToken(QString file = usualFile());

    /// Below the user's data folder.
    static QString usualFile();

    /// Empty if none is kept or it cannot be read.
    QString load() const;

    /// Replaces what is kept, wholly or not at all; an empty @p token removes it. False on failure.
    bool save(const QString &token) const;

private:
    QString m_file;
};
