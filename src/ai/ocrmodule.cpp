#include "ai/ocrmodule.h"

#include <QDebug>
#include <QEventLoop>

#include <algorithm>
#include <memory>
#include <pthread.h>

namespace
{
/// What a waiting call shares with its two handlers, which may still be on their way when it has
/// returned: a result that was queued before a cancel is handled after it.
struct Wait {
    QEventLoop *loop; ///< null once the call has returned
    QVector<OCRTextData> lines;
};
} // namespace

OcrModule::OcrModule(QObject *parent) : QObject(parent)
{
    // A queued signal looks its parameters up by the names that it declares, reference and all.
    qRegisterMetaType<QVector<OCRTextData>>("QVector<OCRTextData>&");
    m_initThread = std::thread(&OcrModule::init, this);
    pthread_setname_np(m_initThread.native_handle(), "ai region start");
}

OcrModule::~OcrModule()
{
    if (m_initThread.joinable()) {
        m_initThread.join();
    }
    m_modelConfig.reset();
    m_session.reset();
}

void OcrModule::init()
{
    m_session.reset(text_recognition_create_session());
    if (!m_session) {
        qWarning() << "failed to create text recognition session";
        m_sessionReady = false;
        return;
    }
    m_modelConfig = TextRecognition::configure(m_session.get());
    if (!initSessionWithRetry(1)) {
        qWarning() << "Warning: failed to init text recognition session";
        m_sessionReady = false;
        return;
    }
    text_recognition_result_set_callback(m_session.get(), &OcrModule::onRecognized, this);
    m_sessionReady = true;
}

bool OcrModule::initSessionWithRetry(unsigned int retries)
{
    return TextRecognition::start(m_session.get(), retries, &m_initStatus);
}

QVector<OCRTextData> OcrModule::getOCRTextDataSync(const OCRTask &task)
{
    if (!m_sessionReady) {
        qWarning() << "Warning: text recognition session is not initialized";
        return {};
    }
    const std::optional<QByteArray> picture = TextRecognition::encoded(task.image);
    if (!picture) {
        return {};
    }
    QEventLoop loop;
    const auto wait = std::make_shared<Wait>(Wait{&loop, {}});
    {
        const std::lock_guard<std::mutex> lock(m_tasksMutex);
        TextRecognition::request(m_session.get(), *picture);
        m_tasks.append(task);
        connect(this, &OcrModule::ocrResultReady, this,
                [wait](const QVector<OCRTextData> &lines, const QString & /*taskID*/) {
                    if (wait->loop) {
                        wait->lines = lines;
                        wait->loop->quit();
                    }
                });
        connect(this, &OcrModule::ocrTaskCancelled, this, [wait](const QString & /*taskID*/) {
            if (wait->loop) {
                wait->loop->quit();
            }
        });
    }
    loop.exec();
    wait->loop = nullptr;
    disconnect();
    return wait->lines;
}

void OcrModule::onRecognized(TextRecognitionResult *result, void *userData)
{
    static_cast<OcrModule *>(userData)->takeResult(result);
}

void OcrModule::takeResult(TextRecognitionResult *result)
{
    OCRTask task;
    {
        const std::lock_guard<std::mutex> lock(m_tasksMutex);
        if (m_tasks.isEmpty()) {
            qWarning() << "OCR result without a request";
            return;
        }
        task = m_tasks.takeFirst();
    }
    if (task.isCancelled) {
        return;
    }
    QVector<OCRTextData> lines;
    if (!TextRecognition::isNull(result)) {
        lines = TextRecognition::linesOf(result);
    }
    Q_EMIT ocrResultReady(lines, task.taskID);
}

void OcrModule::cancelRecognizeTextInImage(const QString &taskID)
{
    {
        const std::lock_guard<std::mutex> lock(m_tasksMutex);
        const auto task =
            std::find_if(m_tasks.begin(), m_tasks.end(),
                         [&taskID](const OCRTask &each) { return each.taskID == taskID; });
        if (task == m_tasks.end()) {
            qWarning() << "No task to cancel";
            return;
        }
        task->isCancelled = true;
    }
    Q_EMIT ocrTaskCancelled(taskID);
}
