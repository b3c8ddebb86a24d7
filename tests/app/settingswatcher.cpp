// A program with a settings store that tells each signal as a line on standard output, until
// standard input ends.

#include "app/configmanager.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <iostream>
#include <unistd.h>

namespace
{
template <typename Signal>
void tell(const ConfigManager &manager, Signal signal, const char *name)
{
    QObject::connect(&manager, signal, [name] { std::cout << name << std::endl; });
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const ConfigManager manager;
    tell(manager, &ConfigManager::enabledChanged, "enabled");
    tell(manager, &ConfigManager::screenshotIntervalChanged, "screenshotInterval");
    tell(manager, &ConfigManager::maxResultNumberChanged, "maxResultNumber");
    tell(manager, &ConfigManager::maxStorageSizeChanged, "maxStorageSize");
    tell(manager, &ConfigManager::excludeAppsChanged, "excludeApps");
    tell(manager, &ConfigManager::closeWindowOptionChanged, "closeWindowOption");
    tell(manager, &ConfigManager::recordingMemoryChanged, "recordingMemory");
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &QCoreApplication::quit);
    std::cout << "ready" << std::endl;
    return QCoreApplication::exec();
}
