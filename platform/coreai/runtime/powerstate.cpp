#include "coreai/runtime/powerstate.h"

#include <QDir>
#include <QFile>

namespace coreai
{
namespace
{
QByteArray wordOf(const QString &supply, const char *name)
{
    QFile file(supply + QLatin1Char('/') + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}
} // namespace

PowerState::PowerState(const QString &folder) : m_folder(folder) {}

bool PowerState::onBattery() const
{
    bool battery = false;
    bool adapters = false;
    bool online = false;
    for (const QString &name : QDir(m_folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString supply = m_folder + QLatin1Char('/') + name;
        const QByteArray type = wordOf(supply, "type");
        if (type == "Battery" && wordOf(supply, "scope") != "Device") {
            battery = true;
            if (wordOf(supply, "status") == "Discharging") {
                return true;
            }
        } else if (type == "Mains" || type == "USB") {
            adapters = true;
            online = online || wordOf(supply, "online") == "1";
        }
    }
    return battery && adapters && !online;
}
} // namespace coreai
