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
bool tesseractAvailable()
{
    // The library looks there, or where the variable says.
    const QString chosen = qEnvironmentVariable("TESSDATA_PREFIX");
    const QDir data(chosen.isEmpty() ? QStringLiteral(YESTERMARK_TESSDATA) : chosen);
    const QStringList languages{QStringLiteral("eng.traineddata"),
                                QStringLiteral("chi_sim.traineddata")};
    return std::any_of(languages.begin(), languages.end(),
                       [&](const QString &file) { return data.exists(file); });
}
#else
bool tesseractAvailable()
{
    return false;
}
#endif
} // namespace

bool lineRecognizerAvailable(const ModelFolders &folders)
{
    return openVinoAvailable(folders) || tesseractAvailable();
}

bool textMeaningAvailable(const ModelFolders &folders)
{
    return !folders.find(textMeaningFile).isEmpty();
}
} // namespace coreai
