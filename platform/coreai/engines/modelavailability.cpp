#include "coreai/engines/modelavailability.h"

#include "coreai/engines/modelfiles.h"

#include <QDir>

#include <algorithm>

namespace coreai
{
namespace
{
#ifdef YESTERMARK_OPENVINO
bool openVinoAvailable(const ModelFolders &folders)
{
    return !folders.find(lineModelFile).isEmpty();
}
#else
bool openVinoAvailable(const ModelFolders & /*folders*/)
{
    return false;
}
#endif

#ifdef YESTERMARK_TESSERACT
bool tesseractAvailable(const ModelFolders &folders)
{
    const QDir data(folders.tesseract());
    const QStringList languages{QStringLiteral("eng.traineddata"),
                                QStringLiteral("chi_sim.traineddata")};
    return std::any_of(languages.begin(), languages.end(),
                       [&](const QString &file) { return data.exists(file); });
}
#else
bool tesseractAvailable(const ModelFolders & /*folders*/)
{
    return false;
}
#endif
} // namespace

bool lineRecognizerAvailable(const ModelFolders &folders)
{
    return openVinoAvailable(folders) || tesseractAvailable(folders);
}

bool textMeaningAvailable(const ModelFolders &folders)
{
    return !folders.find(textMeaningFile).isEmpty();
}

bool aiSubsystemAvailable(const ModelFolders &folders)
{
    return lineRecognizerAvailable(folders) && textMeaningAvailable(folders);
}
} // namespace coreai
