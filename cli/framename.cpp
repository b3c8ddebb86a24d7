#include "cli/framename.h"

#include "cli/timetext.h"
#include "history/storedfiles.h"

#include <QRegularExpression>

std::optional<FrameName> FrameName::parse(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^([^#/]+)#([1-9]\\d{0,8})$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) {
        return {};
    }
    FrameName name;
    name.number = match.captured(2).toUInt();
    const QString place = match.captured(1);
    if (HistoryChecker::isVideoName(place)) {
        name.video = place;
    } else if (place.size() == 10 && TimeText::first(place)) {
        name.day = place;
    } else {
        return {};
    }
    return name;
}

QString FrameName::ofVideo(const QString &video, uint index)
{
    return video + QLatin1Char('#') + QString::number(index);
}
