#include "desktopbridge/nullbackend.h"

NullBackend::NullBackend(const QString &problem) : m_problem(problem) {}

PicturePtr NullBackend::fetch(const QRect & /*area*/)
{
    return nullptr;
}
