#pragma once
// Runs the tool of the desktop's encrypted boxes. Owner: DataEncryptor, by value. Thread: any;
// every operation blocks until the tool has ended.

#include <string>
#include <vector>

class VaultsmClient
{
public:
    /// Whether the box @p name exists.
    bool getBoxInfo(const std::string &name);

    /// Makes the box @p name. The tool keeps a key of its own: the password goes nowhere.
    bool createBox(const std::string &name, const std::string &password);

    /// Opens the box @p name. The password goes nowhere.
    bool mountBox(const std::string &name, const std::string &password);

    /// Closes the box @p name.
    bool umountBox(const std::string &name);

    /// Makes every box of the user ready for use.
    bool upgradeBox();

    bool isVaultsmInstalled() const;

    /// Runs the tool with @p arguments, joined by blanks and read by the shell without quoting.
    /// True if it exits with status 0; false too, with nothing run, where it is not installed.
    bool executeCommand(const std::vector<std::string> &arguments);
};
