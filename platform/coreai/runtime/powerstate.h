// Whether the machine runs on its battery, as the kernel tells below /sys/class/power_supply.
// Thread: any; reads the files at each call.

#pragma once

#include <QString>

namespace coreai
{
class PowerState
{
public:
    PowerState() : PowerState(QStringLiteral("/sys/class/power_supply")) {}
    explicit PowerState(const QString &folder);

    // True where a battery of the machine (not of a mouse) is being discharged, or where it has one
    // and every mains adapter tells that it is off. A machine without a battery is on mains.
    bool onBattery() const;

private:
    QString m_folder;
};
} // namespace coreai
