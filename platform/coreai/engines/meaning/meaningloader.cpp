#include "coreai/engines/meaning/meaningloader.h"

#include "coreai/engines/meaning/nullpicturemeaning.h"
#include "coreai/engines/meaning/nulltextmeaning.h"
#include "coreai/engines/modelfiles.h"

#ifdef YESTERMARK_WITH_E5
#include "coreai/engines/meaning/e5textmeaning.h"
#endif

#include <QDebug>

namespace coreai
{
std::unique_ptr<TextMeaning> loadTextMeaning(const ModelFolders &folders)
{
#ifdef YESTERMARK_WITH_E5
    const QString path = folders.find(textMeaningFile);
    QString fault = QStringLiteral("no folder has it");
    if (!path.isEmpty()) {
        if (auto engine = E5TextMeaning::load(path, &fault)) {
            qDebug() << "text meaning:" << QString::fromStdString(engine->name());
            return engine;
        }
    }
    qWarning() << "no text meaning:" << textMeaningFile << fault;
#else
    Q_UNUSED(folders)
    qWarning() << "no text meaning: built without its engine";
#endif
    return std::make_unique<NullTextMeaning>();
}

std::unique_ptr<PictureMeaning> loadPictureMeaning(const ModelFolders &folders)
{
    Q_UNUSED(folders)
    qDebug() << "no picture meaning:" << pictureMeaningFile << "no folder has it";
    return std::make_unique<NullPictureMeaning>();
}
} // namespace coreai
