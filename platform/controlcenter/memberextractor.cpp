#include "controlcenter/memberextractor.h"

#include <QTimer>

namespace
{
// Status 3 tells a full disk, 4 a member that the archive does not have.
const QString PROGRAM = QStringLiteral(R"PYTHON(
import errno, shutil, sys, zipfile
archive, member, target = sys.argv[1:]
try:
    with zipfile.ZipFile(archive) as files, files.open(member) as source:
        with open(target, "wb") as copy:
            shutil.copyfileobj(source, copy, 1 << 20)
except OSError as error:
    print(error)
    sys.exit(3 if error.errno in (errno.ENOSPC, errno.EDQUOT) else 1)
except (KeyError, zipfile.BadZipFile) as error:
    print(error)
    sys.exit(4)
)PYTHON");
} // namespace

MemberExtractor::MemberExtractor()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    connect(&m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &MemberExtractor::onEnded);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart && !m_cancelled) {
            Q_EMIT done({InstallResult::NoClient, m_process.program()});
        }
    });
}

MemberExtractor::~MemberExtractor()
{
    cancel();
    m_process.waitForFinished();
}

void MemberExtractor::start(const QString &archive, const QString &member, const QString &file)
{
    m_cancelled = false;
    QTimer::singleShot(0, this, [this, archive, member, file] {
        if (!m_cancelled) {
            m_process.start(QStringLiteral("python3"),
                            {QStringLiteral("-c"), PROGRAM, archive, member, file},
                            QProcess::ReadOnly);
        }
    });
}

void MemberExtractor::cancel()
{
    m_cancelled = true;
    m_process.kill();
}

void MemberExtractor::onEnded()
{
    if (m_cancelled) {
        return;
    }
    const QString said = QString::fromUtf8(m_process.readAll()).trimmed();
    const bool ended = m_process.exitStatus() == QProcess::NormalExit;
    const int status = ended ? m_process.exitCode() : 1;
    if (status == 0) {
        Q_EMIT done({});
    } else if (status == 3) {
        Q_EMIT done({InstallResult::NoSpace, said});
    } else {
        Q_EMIT done({status == 4 ? InstallResult::WrongContent : InstallResult::Failed, said});
    }
}
