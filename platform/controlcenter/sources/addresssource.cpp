#include "controlcenter/sources/addresssource.h"

#include <QTimer>

#include <cerrno>

namespace
{
constexpr int OK = 200;
constexpr int PARTIAL_CONTENT = 206;
constexpr int RANGE_NOT_SATISFIABLE = 416;

int statusOf(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

// The model hub has no address here: who distributes the program, or the user, names it.
QUrl urlOf(QString address)
{
    if (address.startsWith(QLatin1String("hub:"))) {
        address.replace(0, 4, qEnvironmentVariable("YESTERMARK_MODEL_HUB") + QLatin1Char('/'));
    }
    return QUrl(address);
}

InstallResult writeFailure(const QFile &file)
{
    const bool full = errno == ENOSPC || errno == EDQUOT;
    return {full ? InstallResult::NoSpace : InstallResult::NotWritable,
            file.fileName() + QStringLiteral(": ") + file.errorString()};
}
} // namespace

AddressSource::~AddressSource()
{
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
}

void AddressSource::fetch(const ModelPackage &package, const QString &file)
{
    m_broken = {};
    m_expected = 0;
    m_package = package;
    m_file.setFileName(file);
    if (!m_file.open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered)) {
        const InstallResult failure = writeFailure(m_file);
        QTimer::singleShot(0, this, [this, failure] { Q_EMIT finished(failure); });
        return;
    }
    QNetworkRequest request{urlOf(package.address)};
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    // The range counts bytes of the file itself.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setTransferTimeout(m_patience);
    if (m_file.size() > 0) {
        request.setRawHeader("Range", "bytes=" + QByteArray::number(m_file.size()) + '-');
    }
    m_reply.reset(m_network.get(request));
    connect(m_reply.get(), &QNetworkReply::metaDataChanged, this, &AddressSource::onHeaders);
    connect(m_reply.get(), &QNetworkReply::readyRead, this, &AddressSource::onData);
    connect(m_reply.get(), &QNetworkReply::finished, this, &AddressSource::onEnded);
}

void AddressSource::cancel()
{
    if (m_reply) {
        m_broken = {InstallResult::Cancelled, {}};
        m_reply->abort();
    }
}

// A server that does not know ranges sends the whole; one that has no more than what is here
// already refuses the range, and the whole is asked for.
void AddressSource::onHeaders()
{
    const int status = statusOf(*m_reply);
    if (status == OK || status == RANGE_NOT_SATISFIABLE) {
        m_file.resize(0);
    }
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    m_expected = length.isValid() ? m_file.size() + length.toLongLong() : 0;
}

void AddressSource::onData()
{
    const int status = statusOf(*m_reply);
    if (status != OK && status != PARTIAL_CONTENT) {
        return; // the text of an error page
    }
    const QByteArray data = m_reply->readAll();
    if (m_file.write(data) != data.size()) {
        m_broken = writeFailure(m_file);
        m_reply->abort();
        return;
    }
    Q_EMIT received(m_file.size());
}

void AddressSource::onEnded()
{
    const InstallResult result = outcome();
    const bool again = statusOf(*m_reply) == RANGE_NOT_SATISFIABLE && m_broken.isDone();
    m_file.close();
    m_reply.reset();
    if (again) {
        fetch(m_package, m_file.fileName());
        return;
    }
    Q_EMIT finished(result);
}

InstallResult AddressSource::outcome() const
{
    if (!m_broken.isDone()) {
        return m_broken;
    }
    switch (m_reply->error()) {
    case QNetworkReply::NoError:
        // A server that hangs up early is not always told as an error.
        return m_file.size() < m_expected
                   ? InstallResult{InstallResult::Unreachable, m_reply->url().host()}
                   : InstallResult{};
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::ContentGoneError:
    case QNetworkReply::ContentAccessDenied:
        return {InstallResult::NotThere, m_reply->errorString()};
    default:
        return {InstallResult::Unreachable, m_reply->errorString()};
    }
}
