#pragma once
// Puts the picture summaries on a worker thread. Nothing asks for them yet.
// Owner: AIAbilityManager, until the worker thread ends and deletes it. Thread: that one; the
// signal may be emitted from any.

#include <QImage>
#include <QObject>
#include <QString>

#include <functional>

class MultiModel;

class ImageSemanticModule : public QObject
{
    Q_OBJECT

public:
    using ResultCallback = std::function<void(const QString &)>;

    explicit ImageSemanticModule(QObject *parent);

    /// @p callback gets every summary, on the worker thread. To be set before the first request.
    void setResultCallback(ResultCallback callback);

Q_SIGNALS:
    /// Asks for the summary of @p image. From another thread the request waits in the worker's
    /// event queue behind those before it.
    void requestImageSemanticDataAsync(const QImage &image);

public Q_SLOTS:
    /// Asks the server and hands the summary, empty on failure, to the callback. Ignores a null
    /// image. Throws std::bad_function_call if no callback was ever set, which is a mistake in the
    /// program.
    void imageSemanticSlot(const QImage &image);

private:
    MultiModel *m_multiModel = nullptr;
    ResultCallback m_resultCallback;
};
