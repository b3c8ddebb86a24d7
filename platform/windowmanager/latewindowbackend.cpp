#include "windowmanager/latewindowbackend.h"

LateWindowBackend::LateWindowBackend(const Maker &maker, int interval, int tries)
    : m_maker(maker), m_tries(tries)
{
    connect(&m_timer, &QTimer::timeout, this, &LateWindowBackend::tryAgain);
    m_timer.start(interval);
}

void LateWindowBackend::tryAgain()
{
    m_real = m_maker();
    if (m_real) {
        connect(m_real.get(), &WindowBackend::windowAdded, this, &WindowBackend::windowAdded);
    }
    if (m_real || --m_tries == 0) {
        m_timer.stop();
    }
}

QString LateWindowBackend::name() const
{
    return m_real ? m_real->name() : QStringLiteral("none yet");
}

QString LateWindowBackend::title(const QVariant &id) const
{
    return m_real ? m_real->title(id) : QString();
}

int LateWindowBackend::processId(const QVariant &id) const
{
    return m_real ? m_real->processId(id) : 0;
}

void LateWindowBackend::activate(const QVariant &id)
{
    if (m_real) {
        m_real->activate(id);
    }
}

void LateWindowBackend::minimize(const QVariant &id)
{
    if (m_real) {
        m_real->minimize(id);
    }
}
