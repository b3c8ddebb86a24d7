#include "coreai/engines/reading/loadlinerecognizer.h"

#include "coreai/engines/modelfiles.h"
#include "coreai/engines/modelfolders.h"
#include "coreai/engines/reading/nulllinerecognizer.h"
#ifdef YESTERMARK_OPENVINO
#include "coreai/engines/reading/openvinolinerecognizer.h"
#endif
#ifdef YESTERMARK_TESSERACT
#include "coreai/engines/reading/tesseractlinerecognizer.h"
#endif

#include <QDebug>
#include <QMutex>

namespace coreai
{
namespace
{
#ifdef YESTERMARK_OPENVINO
OpenVinoLineRecognizer::Arithmetic arithmeticOf(LineEngine wanted)
{
    using Arithmetic = OpenVinoLineRecognizer::Arithmetic;
    switch (wanted) {
    case LineEngine::OpenVinoFloats:
        return Arithmetic::Floats;
    case LineEngine::OpenVinoIntegers:
        return Arithmetic::Integers;
    default:
        return Arithmetic::OfProcessor;
    }
}

std::unique_ptr<LineRecognizer> loadOpenVino(const ModelFolders &models, LineEngine wanted,
                                             QString &whyNot)
{
    const QString file = models.find(lineModelFile);
    if (file.isEmpty()) {
        whyNot = lineModelFile + QStringLiteral(" is missing");
        return nullptr;
    }
    return OpenVinoLineRecognizer::load(file, whyNot, arithmeticOf(wanted));
}
#else
std::unique_ptr<LineRecognizer> loadOpenVino(const ModelFolders & /*models*/, LineEngine /*wanted*/,
                                             QString &whyNot)
{
    whyNot = QStringLiteral("built without OpenVINO");
    return nullptr;
}
#endif

#ifdef YESTERMARK_TESSERACT
std::unique_ptr<LineRecognizer> loadTesseract(const ModelFolders &models, QString &whyNot)
{
    return TesseractLineRecognizer::load(models.tesseract(), whyNot);
}
#else
std::unique_ptr<LineRecognizer> loadTesseract(const ModelFolders & /*models*/, QString &whyNot)
{
    whyNot = QStringLiteral("built without Tesseract");
    return nullptr;
}
#endif

void sayOnce(const QString &what)
{
    static QMutex mutex;
    static QString said;
    const QMutexLocker locker(&mutex);
    if (what != said) {
        said = what;
        qDebug().noquote() << what;
    }
}
} // namespace

std::unique_ptr<LineRecognizer> loadLineRecognizer(const ModelFolders &models, LineEngine wanted)
{
    std::unique_ptr<LineRecognizer> engine;
    QStringList reasons;
    QString whyNot;
    if (wanted != LineEngine::Tesseract && wanted != LineEngine::None) {
        engine = loadOpenVino(models, wanted, whyNot);
        if (!engine) {
            reasons << whyNot;
        }
    }
    if (!engine && wanted != LineEngine::None) {
        engine = loadTesseract(models, whyNot);
        if (!engine) {
            reasons << whyNot;
        }
    }
    if (!engine) {
        engine = std::make_unique<NullLineRecognizer>();
    }
    QString text = QStringLiteral("lines are read by: ") + QString::fromStdString(engine->name());
    if (!reasons.isEmpty()) {
        text += QStringLiteral(" (%1)").arg(reasons.join(QStringLiteral("; ")));
    }
    sayOnce(text);
    return engine;
}
} // namespace coreai
