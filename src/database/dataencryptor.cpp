#include "database/dataencryptor.h"

#include "vault/vaultadm.h"

#include <QDebug>
#include <QDir>

#include <fstream>
#include <random>
#include <utility>

namespace
{
constexpr int PASSWORD_LENGTH = 8;
} // namespace

std::string generatePassword(int length)
{
    static const std::string alphabet =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    std::random_device seed("default");
    std::mt19937 generator(seed());
    std::uniform_int_distribution<int> index(0, 61);
    std::string password;
    for (int drawn = 0; drawn < length; ++drawn) {
        password += alphabet[static_cast<std::size_t>(index(generator))];
    }
    return password;
}

std::string reverseByTwo(const std::string &text)
{
    std::string reversed = text;
    for (std::size_t at = 0; at + 1 < reversed.size(); at += 2) {
        std::swap(reversed[at], reversed[at + 1]);
    }
    return reversed;
}

bool savePasswordToFile(const std::string &password, const std::string &path)
{
    std::ofstream file(path, std::ios::out | std::ios::trunc);
    if (!file.is_open()) {
        return false;
    }
    file << password;
    file.close();
    return true;
}

DataEncryptor *DataEncryptor::getInstance()
{
    static DataEncryptor instance;
    return &instance;
}

DataEncryptor::DataEncryptor() : m_boxName("tavel-ai-yestermark")
{
    if (!isSystemSupportSafeBox()) {
        qWarning() << "safebox not supported in this system. running with no encryption.";
        return;
    }
    if (!createSafeDirectory()) {
        qWarning() << "SafeBox failed to create, running without safebox";
        return;
    }
    m_safeDirectoryMounted = upgradeBox();
}

bool DataEncryptor::isSafeDirectoryMounted() const
{
    return m_safeDirectoryMounted;
}

QString DataEncryptor::storeRoot() const
{
    return QDir::homePath() + (m_safeDirectoryMounted
                                   ? QLatin1String("/.vault/tavel-ai-yestermark")
                                   : QLatin1String("/.cache/tavel-ai-yestermark"));
}

bool DataEncryptor::isSystemSupportSafeBox() const
{
    return vault_enabled() != 0;
}

bool DataEncryptor::hasSafeDirectory(const std::string &name)
{
    return m_vaultsmClient.getBoxInfo(name);
}

bool DataEncryptor::createSafeDirectory()
{
    return hasSafeDirectory(m_boxName) || m_vaultsmClient.createBox(m_boxName, m_password);
}

bool DataEncryptor::mountSafeDirectory()
{
    return createSafeDirectory() && m_vaultsmClient.mountBox(m_boxName, m_password);
}

bool DataEncryptor::umountSafeDirectory()
{
    return m_vaultsmClient.umountBox(m_boxName);
}

bool DataEncryptor::upgradeBox()
{
    return m_vaultsmClient.upgradeBox();
}

void DataEncryptor::generateAndSavePassword()
{
    m_password = generatePassword(PASSWORD_LENGTH);
    savePasswordToFile(reverseByTwo(m_password), m_passwordFilePath);
}
