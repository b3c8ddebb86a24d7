#include "desktopbridge/portal/caststate.h"

QString problemOf(CastState state)
{
    switch (state) {
    case CastState::Live:
        return {};
    case CastState::Unasked:
        return QStringLiteral("nobody watches the screen, so the desktop was not asked for it");
    case CastState::Asked:
        return QStringLiteral("the desktop was asked for the screen and has not answered yet");
    case CastState::Expected:
        return QStringLiteral("the desktop shows the screen but has sent no picture yet");
    case CastState::Unsettled:
    case CastState::Interrupted:
        return QStringLiteral(
            "the desktop's pictures of the screen were interrupted; they are asked for again");
    case CastState::Paused:
        return QStringLiteral("the desktop sends no pictures of the screen for now");
    case CastState::Locked:
        return QStringLiteral("the desktop shows no pictures of the locked screen");
    case CastState::Refused:
        return QStringLiteral("the desktop was not allowed to show the screen; the next start "
                              "of the program asks again");
    case CastState::Revoked:
        return QStringLiteral("the desktop's permission to show the screen was taken back; the "
                              "next start of the program asks again");
    case CastState::NeedsUser:
        return QStringLiteral("the desktop must ask again before it shows the screen; the next "
                              "start of the program does");
    case CastState::Absent:
        return QStringLiteral("this desktop has no portal that shows the screen");
    case CastState::Broken:
        return QStringLiteral("the desktop's portal fails to show the screen");
    }
    return {};
}
