#include "cli/statuscommand.h"

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/desktop.h"
#include "cli/exitstatus.h"
#include "cli/history.h"
#include "cli/recorder.h"
#include "cli/timetext.h"

#include <QDateTime>

namespace
{
// A recorder that sees changes stores a frame an interval; the signal of a change comes once a
// second, and the reading of the screen and the similarity take a part of one.
constexpr qint64 SLACK_SECONDS = 10;

struct Facts {
    Recorder::Settings settings;
    Recorder::Engines engines;
    Recorder::Sizes sizes;
    std::optional<qint64> process;
    Desktop::ScreenService screen;
    QString session;
    StorePlace place;
    std::optional<qint64> lastFrame; ///< seconds since the epoch
    qint64 now = 0;
};

/// Why nothing is being stored, the first reason that holds; empty if frames are.
QString reasonOf(const Facts &facts)
{
    if (!facts.engines.reading || !facts.engines.textMeaning) {
        return QStringLiteral("the on-device AI runtime is not installed");
    }
    if (!facts.settings.areInstalled) {
        return QStringLiteral("the program's settings are not installed");
    }
    if (!facts.process) {
        return QStringLiteral("the program is not running");
    }
    if (!facts.settings.isRecordingWanted) {
        return QStringLiteral("recording is switched off");
    }
    if (Desktop::isLocked()) {
        return QStringLiteral("the session is locked");
    }
    if (facts.screen.provider == QLatin1String("bridge") && !facts.screen.seesScreen) {
        return QStringLiteral("the desktop does not show its screen");
    }
    if (*facts.process != 0 && Desktop::activeProcess() == facts.process) {
        return QStringLiteral("the program's own window is in front");
    }
    if (Recorder::isDiskFull(facts.place.screenshots)) {
        return QStringLiteral("the disk is full");
    }
    if (facts.lastFrame && *facts.lastFrame > facts.now) {
        return QStringLiteral("the clock is behind the newest frame");
    }
    const qint64 age = facts.now - facts.lastFrame.value_or(0);
    if (age > 2 * qint64{facts.settings.intervalSeconds} + SLACK_SECONDS) {
        return QStringLiteral("the screen has hardly changed, or the program in front has no "
                              "desktop entry");
    }
    return {};
}

/// Of the newest month that has any.
std::optional<qint64> lastFrame(History &history)
{
    std::optional<qint64> time;
    history.forEachMonth([&time](MonthRows &month) {
        const auto last = month.last();
        if (last) {
            time = last->realTime;
        }
        return !time;
    });
    return time;
}

QJsonObject toJson(const Facts &facts, const QString &reason)
{
    const auto known = [&facts](const QJsonValue &value) {
        return facts.settings.areInstalled ? value : QJsonValue();
    };
    QJsonValue last;
    if (facts.lastFrame) {
        last = QJsonObject{{QStringLiteral("time"), TimeText::iso(*facts.lastFrame)},
                           {QStringLiteral("epoch"), *facts.lastFrame},
                           {QStringLiteral("ageSeconds"), facts.now - *facts.lastFrame}};
    }
    return {{QStringLiteral("running"), facts.process.has_value()},
            {QStringLiteral("recordingWanted"), known(facts.settings.isRecordingWanted)},
            {QStringLiteral("recording"), facts.process && facts.settings.isRecordingWanted},
            {QStringLiteral("reason"), reason.isEmpty() ? QJsonValue() : QJsonValue(reason)},
            {QStringLiteral("lastFrame"), last},
            {QStringLiteral("store"),
             QJsonObject{{QStringLiteral("folder"), facts.place.databases.section('/', 0, -2)},
                         {QStringLiteral("frameBytes"), static_cast<qint64>(facts.sizes.frames)},
                         {QStringLiteral("rowBytes"), static_cast<qint64>(facts.sizes.rows)},
                         {QStringLiteral("vectorBytes"), static_cast<qint64>(facts.sizes.vectors)},
                         {QStringLiteral("ceilingBytes"),
                          known(static_cast<qint64>(facts.settings.ceilingBytes))},
                         {QStringLiteral("encrypted"), facts.place.isEncrypted},
                         {QStringLiteral("boxClosed"), facts.place.isBoxClosed}}},
            {QStringLiteral("engines"),
             QJsonObject{{QStringLiteral("reading"), facts.engines.reading},
                         {QStringLiteral("textMeaning"), facts.engines.textMeaning},
                         {QStringLiteral("pictureMeaning"), facts.engines.pictureMeaning}}},
            {QStringLiteral("desktop"),
             QJsonObject{{QStringLiteral("session"), facts.session},
                         {QStringLiteral("provider"), facts.screen.provider},
                         {QStringLiteral("backend"), facts.screen.backend},
                         {QStringLiteral("seesScreen"), facts.screen.seesScreen}}}};
}

QString desktopText(const Facts &facts)
{
    const QString session = facts.session.isEmpty() ? QStringLiteral("no session") : facts.session;
    if (facts.screen.provider.isEmpty()) {
        return session + QStringLiteral(", no service shows the screen");
    }
    QString text = session + (facts.screen.provider == QLatin1String("bridge")
                                  ? QStringLiteral(", by the desktop bridge")
                                  : QStringLiteral(", by the desktop's own service"));
    if (!facts.screen.backend.isEmpty()) {
        text += QStringLiteral(" (%1)").arg(facts.screen.backend);
    }
    return facts.screen.seesScreen ? text : text + QStringLiteral(", which sees no screen");
}

void print(const Facts &facts, const QString &reason, Console &console)
{
    const auto word = [](bool holds) {
        return holds ? QStringLiteral("yes") : QStringLiteral("no");
    };
    const bool isRecording = facts.process && facts.settings.isRecordingWanted;
    console.line(QStringLiteral("Recording:  ") + word(isRecording));
    if (!reason.isEmpty()) {
        console.line(QStringLiteral("Not stored: ") + reason);
    }
    console.line(QStringLiteral("Last frame: ") +
                 (facts.lastFrame ? QStringLiteral("%1, %2 ago")
                                        .arg(TimeText::ofSecond(*facts.lastFrame),
                                             TimeText::ofAge(facts.now - *facts.lastFrame))
                                  : QStringLiteral("none")));
    const QString ceiling = facts.settings.areInstalled
                                ? TimeText::ofSize(facts.settings.ceilingBytes)
                                : QStringLiteral("unknown");
    console.line(QStringLiteral("Store:      %1 of frames (ceiling %2), %3 of rows, %4 of vectors")
                     .arg(TimeText::ofSize(facts.sizes.frames), ceiling,
                          TimeText::ofSize(facts.sizes.rows),
                          TimeText::ofSize(facts.sizes.vectors)));
    console.line(QStringLiteral("Encrypted:  ") + word(facts.place.isEncrypted) +
                 (facts.place.isBoxClosed ? QStringLiteral(", the box is not open") : QString()));
    console.line(QStringLiteral("Engines:    reading %1, meaning of texts %2, of pictures %3")
                     .arg(word(facts.engines.reading), word(facts.engines.textMeaning),
                          word(facts.engines.pictureMeaning)));
    console.line(QStringLiteral("Desktop:    ") + desktopText(facts));
}
} // namespace

int statusCommand(const QStringList &arguments, Console &console)
{
    Arguments options(QStringLiteral("status [options]"),
                      QStringLiteral("Tells whether frames are being stored, and if not, why."));
    if (const auto status = options.parse(arguments, 0, console)) {
        return *status;
    }
    History history(console);
    Facts facts;
    facts.place = history.place();
    facts.settings = Recorder::settings();
    facts.engines = Recorder::engines();
    facts.sizes = Recorder::sizes(facts.place);
    facts.process = Recorder::process();
    facts.screen = Desktop::screenService();
    facts.session = Desktop::session();
    facts.lastFrame = lastFrame(history);
    facts.now = QDateTime::currentSecsSinceEpoch();
    const QString reason = reasonOf(facts);
    console.document(toJson(facts, reason));
    if (!console.isJson()) {
        print(facts, reason, console);
    }
    return history.status();
}
