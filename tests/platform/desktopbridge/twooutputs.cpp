#include "twooutputs.h"

#include <QFile>

namespace
{
// An output counts as connected once it shows something.
const char CONFIGURATION[] = R"(
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "device"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0-1000.0
    VertRefresh 5.0-200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "device"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Virtual 4000 2000
    EndSubSection
EndSection
)";
} // namespace

TwoOutputs::TwoOutputs()
{
    const QString path = m_folder.filePath(QStringLiteral("xorg.conf"));
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(CONFIGURATION) < 0) {
        return;
    }
    file.close();
    m_server = std::make_unique<PrivateXServer>(
        QStringLiteral("Xorg"),
        QStringList{QStringLiteral("-config"), path, QStringLiteral("-logfile"),
                    m_folder.filePath(QStringLiteral("log")), QStringLiteral("-novtswitch"),
                    QStringLiteral("-sharevts")});
    m_display = std::make_unique<DisplayVariable>(m_server->display());
}

TwoOutputs::~TwoOutputs() = default;

bool TwoOutputs::arrange() const
{
    return xrandr(QStringLiteral("--output DUMMY0 --mode 1280x720 --pos 0x0 --primary")) &&
           xrandr(QStringLiteral("--addmode DUMMY1 1024x768")) &&
           xrandr(QStringLiteral("--output DUMMY1 --mode 1024x768 --pos 1280x0")) &&
           xrandr(QStringLiteral("--query")); // the server looks who is connected now
}

bool TwoOutputs::xrandr(const QString &arguments)
{
    return QProcess::execute(QStringLiteral("xrandr"), arguments.split(QLatin1Char(' '))) == 0;
}
