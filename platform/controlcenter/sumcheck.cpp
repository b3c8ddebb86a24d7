#include "controlcenter/sumcheck.h"

namespace
{
constexpr qint64 SLICE = 4 << 20; // 10 to 20 ms
}

SumCheck::SumCheck()
{
    m_step.setInterval(0);
    connect(&m_step, &QTimer::timeout, this, &SumCheck::step);
}

void SumCheck::start(const QString &file)
{
    m_hash.reset();
    m_file.setFileName(file);
    m_file.open(QFile::ReadOnly | QFile::Unbuffered);
    m_step.start();
}

void SumCheck::cancel()
{
    m_step.stop();
    m_file.close();
}

void SumCheck::step()
{
    const QByteArray slice = m_file.isOpen() ? m_file.read(SLICE) : QByteArray();
    if (!slice.isEmpty()) {
        m_hash.addData(slice);
        return;
    }
    const bool read = m_file.isOpen() && m_file.atEnd() && m_file.error() == QFile::NoError;
    cancel();
    Q_EMIT done(read ? m_hash.result().toHex() : QByteArray());
}
