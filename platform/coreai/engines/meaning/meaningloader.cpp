#include "coreai/engines/meaning/meaningloader.h"

#include "coreai/engines/meaning/nullpicturemeaning.h"
#include "coreai/engines/meaning/nulltextmeaning.h"
#include "coreai/engines/modelfiles.h"

#ifdef YESTERMARK_WITH_E5
#include "coreai/engines/meaning/e5textmeaning.h"
#endif

#ifdef YESTERMARK_WITH_CLIP
#include "coreai/engines/meaning/clippicturemeaning.h"
#endif

#include <QDebug>
#include <QMutex>

namespace coreai
{
namespace
{
// Says what a loader took, unless that is what it said last: engines are let go when there is no
// work and loaded again, for weeks.
class Report
{
public:
    void say(QtMsgType level, const QString &text)
    {
        const QMutexLocker lock(&m_mutex);
        if (text == m_last) {
            return;
        }
        m_last = text;
        if (level == QtWarningMsg) {
            qWarning().noquote() << text;
        } else {
            qDebug().noquote() << text;
        }
    }

private:
    QMutex m_mutex;
    QString m_last;
};

Report &textReport()
{
    static Report report;
    return report;
}

Report &pictureReport()
{
    static Report report;
    return report;
}
} // namespace

std::unique_ptr<TextMeaning> loadTextMeaning(const ModelFolders &folders)
{
#ifdef YESTERMARK_WITH_E5
    const QString path = folders.find(textMeaningFile);
    QString fault = QStringLiteral("not installed");
    if (!path.isEmpty()) {
        if (auto engine = E5TextMeaning::load(path, &fault)) {
            textReport().say(QtDebugMsg, QStringLiteral("text meaning: ") +
                                             QString::fromStdString(engine->name()));
            return engine;
        }
    }
    textReport().say(QtWarningMsg,
                     QStringLiteral("no text meaning: %1: %2").arg(textMeaningFile, fault));
#else
    Q_UNUSED(folders)
    textReport().say(QtWarningMsg, QStringLiteral("no text meaning: built without its engine"));
#endif
    return std::make_unique<NullTextMeaning>();
}

std::unique_ptr<PictureMeaning> loadPictureMeaning(const ModelFolders &folders)
{
#ifdef YESTERMARK_WITH_CLIP
    const QString model = folders.find(pictureMeaningFile);
    const QString tokenizer = folders.find(pictureTokenizerFile);
    QString fault = QStringLiteral("not installed");
    if (!model.isEmpty() && !tokenizer.isEmpty()) {
        if (auto engine = ClipPictureMeaning::load(model, tokenizer, &fault)) {
            pictureReport().say(QtDebugMsg, QStringLiteral("picture meaning: ") +
                                                QString::fromStdString(engine->name()));
            return engine;
        }
    }
    // The model is an optional download: without it, texts alone find frames.
    pictureReport().say(
        QtDebugMsg, QStringLiteral("no picture meaning: %1: %2").arg(pictureMeaningFile, fault));
#else
    Q_UNUSED(folders)
    pictureReport().say(QtDebugMsg, QStringLiteral("no picture meaning: built without its engine"));
#endif
    return std::make_unique<NullPictureMeaning>();
}
} // namespace coreai
