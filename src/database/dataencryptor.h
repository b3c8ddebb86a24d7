#pragma once
// Decides once whether frames and month databases lie in the desktop's encrypted box. Owner: the
// process, from first use to exit. Thread: any; the answer never changes after construction.

#include "database/vaultsmclient.h"

#include <QString>
#include <QtGlobal>

#include <string>

/// @p length characters, each out of the digits, capitals and small letters; empty for 0 or less.
std::string generatePassword(int length);

/// @p text with each two characters swapped; a last single one stays.
std::string reverseByTwo(const std::string &text);

/// Writes @p password as it stands over whatever @p path holds. True if the file could be opened.
bool savePasswordToFile(const std::string &password, const std::string &path);

class DataEncryptor
{
public:
    /// The first call decides, and blocks for up to three runs of the tool.
    static DataEncryptor *getInstance();
    Q_DISABLE_COPY_MOVE(DataEncryptor)

    /// Whether the box is in use. Fixed for the life of the process.
    bool isSafeDirectoryMounted() const;

    /// The folder below which rows and frames lie, in the box or out of it; no closing "/".
    QString storeRoot() const;

    bool isSystemSupportSafeBox() const;
    bool hasSafeDirectory(const std::string &name);

    /// True if the box is there already, too.
    bool createSafeDirectory();
    bool mountSafeDirectory();
    bool umountSafeDirectory();
    bool upgradeBox();

    /// Draws a new password and keeps it in the password file with its pairs swapped.
    void generateAndSavePassword();

private:
    DataEncryptor();

    VaultsmClient m_vaultsmClient;
    bool m_safeDirectoryMounted = false; ///< the tool made the box ready
    std::string m_passwordFilePath;
    std::string m_password; ///< empty unless generateAndSavePassword() ran
    std::string m_boxName;
};
