#include "database/vaultsmclient.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace
{
constexpr char VAULTSM[] = "/usr/bin/vaultsm";
} // namespace

bool VaultsmClient::getBoxInfo(const std::string &name)
{
    return executeCommand({"-i", name});
}

bool VaultsmClient::createBox(const std::string &name, const std::string & /*password*/)
{
    return executeCommand({"-c", name});
}

bool VaultsmClient::mountBox(const std::string &name, const std::string & /*password*/)
{
    return executeCommand({"-m", name});
}

bool VaultsmClient::umountBox(const std::string &name)
{
    return executeCommand({"-t", name});
}

bool VaultsmClient::upgradeBox()
{
    return executeCommand({"--upgrade"});
}

bool VaultsmClient::isVaultsmInstalled() const
{
    std::error_code error;
    return std::filesystem::exists(std::filesystem::status(VAULTSM, error));
}

bool VaultsmClient::executeCommand(const std::vector<std::string> &arguments)
{
    if (!isVaultsmInstalled()) {
        return false;
    }
    std::string line = VAULTSM;
    for (const std::string &argument : arguments) {
        line += ' ' + argument;
    }
    // The interface is a shell line; its parts are this program's own constants.
    return std::system(line.c_str()) ==
           0; // NOLINT(bugprone-command-processor,concurrency-mt-unsafe)
}
