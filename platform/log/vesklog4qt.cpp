#include "log/vesklog4qt.h"

#include "log/rotatingfilesink.h"
#include "log/standarderror.h"
#include "log/standarderrorsink.h"

#include <QByteArray>
#include <QFile>
#include <QStandardPaths>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <spdlog/logger.h>

namespace
{
constexpr const char *LINE_PATTERN = "%Y-%m-%d %H:%M:%S.%e %z [%l] [%t] %v";
// The journal keeps time and level itself.
constexpr const char *JOURNAL_PATTERN = "[%t] %v";

// Never destroyed: objects with static life log in their destructors.
spdlog::logger *s_logger = nullptr;

spdlog::level::level_enum levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return spdlog::level::debug;
    case QtInfoMsg:
        return spdlog::level::info;
    case QtWarningMsg:
        return spdlog::level::warn;
    case QtCriticalMsg:
        return spdlog::level::err;
    case QtFatalMsg:
        return spdlog::level::critical;
    }
    return spdlog::level::warn;
}

// As Qt's own handler does: a category is told unless it is the default one.
QByteArray textOf(const QMessageLogContext &context, const QString &message)
{
    if (context.category && std::strcmp(context.category, "default") != 0) {
        return QByteArray(context.category) + ": " + message.toUtf8();
    }
    return message.toUtf8();
}

// Qt never calls this on a thread that is inside it: such a message, of a signal handler that
// interrupted the log, Qt prints itself, so it can't wait for a lock that its own thread holds.
void handleMessage(QtMsgType type, const QMessageLogContext &context,
                   const QString &message) noexcept
{
    try {
        const QByteArray text = textOf(context, message);
        s_logger->log(
            spdlog::source_loc{}, levelOf(type),
            spdlog::string_view_t(text.constData(), static_cast<std::size_t>(text.size())));
    } catch (...) {
        StandardError::write("A message could not be logged\n");
    }
}

std::string cacheDirectory(const QString &applicationId)
{
    return QFile::encodeName(
               QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + '/' +
               applicationId)
        .toStdString();
}

void startLogging(const QString &applicationId)
{
    const bool journal = StandardError::isJournal();
    auto errorSink = std::make_shared<StandardErrorSink>(journal);
    errorSink->set_pattern(journal ? JOURNAL_PATTERN : LINE_PATTERN);
    const std::string name = QFile::encodeName(applicationId).toStdString();
    auto fileSink =
        std::make_shared<RotatingFileSink>(cacheDirectory(applicationId) + "/log", name + ".log");
    fileSink->set_pattern(LINE_PATTERN);

    auto logger =
        std::make_unique<spdlog::logger>(name, spdlog::sinks_init_list{errorSink, fileSink});
    logger->set_level(spdlog::level::trace); // Qt's own rules decide what is let through
    logger->set_error_handler([](const std::string &reason) {
        const std::string line = "A message could not be logged: " + reason + '\n';
        StandardError::write(line);
    });
    s_logger = logger.release();
    qInstallMessageHandler(handleMessage);
}
} // namespace

void initVeskLog4qt(const QString &applicationId)
{
    static std::once_flag started;
    try {
        std::call_once(started, startLogging, applicationId);
    } catch (const std::exception &failure) {
        const std::string line =
            std::string("Logging could not be set up: ") + failure.what() + '\n';
        StandardError::write(line);
    }
}
