// What a kept frame costs the main thread before the AI runtime has it: a PNG for the reader, which
// is then asked without waiting, and a JPEG in base64 for the embedding. The runtime itself is left
// out. The floors are the two encoders alone.

#include "ai/coreaidouble/coreaidouble.h"
#include "ai/imageutils.h"
#include "ai/ocrmodel.h"
#include "support/figure.h"
#include "support/screens.h"

#include <QBuffer>
#include <QGuiApplication>

#include <chrono>
#include <cstdio>
#include <thread>

namespace
{
constexpr int ROUNDS = 15;
// Together a fifth of what a kept frame may cost.
constexpr double READER_GOAL_MS = 20.0;
constexpr double EMBEDDING_GOAL_MS = 25.0;

double encoderMilliseconds(const QImage &image, const char *format)
{
    return Bench::medianMilliseconds(ROUNDS, [&image, format] {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, format);
    });
}

bool waitUntilReady()
{
    for (int round = 0; round < 1000; ++round) {
        if (CoreAiDouble::calls().contains(
                QStringLiteral("text_recognition_result_set_callback"))) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void measure(const QSize &size, OcrModel *model)
{
    const bool hasGoal = size == Bench::screenSizes().front();
    const QImage image = Bench::screen(size, 0);
    Bench::print({QStringLiteral("hand over to the reader %1").arg(Bench::sizeText(size)),
                  Bench::medianMilliseconds(ROUNDS, [&] { model->requestOCRTextDataAsync(image); }),
                  QStringLiteral("ms"), hasGoal ? READER_GOAL_MS : 0.0,
                  encoderMilliseconds(image, "PNG"), QStringLiteral("PNG alone")});
    Bench::print({QStringLiteral("base64 for the embedding %1").arg(Bench::sizeText(size)),
                  Bench::medianMilliseconds(ROUNDS, [&image] { imageToBase64(image); }),
                  QStringLiteral("ms"), hasGoal ? EMBEDDING_GOAL_MS : 0.0,
                  encoderMilliseconds(image, "JPEG"), QStringLiteral("JPEG alone")});
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() +
                                     QLatin1String("/../" YESTERMARK_PLUGINDIR));
    OcrModel model;
    model.setImageOCRResultCallback([](const QVector<OCRTextData> & /*lines*/) {});
    if (!waitUntilReady()) {
        std::fprintf(stderr, "the session did not come up\n");
        return 1;
    }
    for (const QSize &size : Bench::screenSizes()) {
        measure(size, &model);
    }
    return 0;
}
