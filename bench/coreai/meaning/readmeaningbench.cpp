// How well queries find frames that were drawn, cut into lines and read, as the runtime does it:
// the figures of meaningbench with the texts that the recogniser made of the pictures. Takes a
// minute or two.

#include "labelledset.h"
#include "meaningscores.h"
#include "support/figure.h"

#include "coreai/engines/meaning/meaningloader.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "coreai/reading/linecut.h"

#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QPainter>

#include <cstdio>

namespace
{
constexpr int margin = 40;
constexpr int columnWidth = 940;
constexpr double leading = 1.7;

QImage drawn(const Labelled::Frame &frame)
{
    QImage image(1920, 1080, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    int x = margin;
    int y = margin;
    for (const Labelled::Line &line : frame.lines) {
        font.setPixelSize(line.height);
        painter.setFont(font);
        painter.drawText(x, y + line.height, line.text);
        y += static_cast<int>(line.height * leading);
        if (y > image.height() - 2 * margin) {
            y = margin;
            x += columnWidth;
        }
    }
    return image;
}

// Reads each line's picture once, as the runtime's cache does.
class Reader
{
public:
    explicit Reader(const coreai::ModelFolders &folders)
        : m_recognizer(coreai::loadLineRecognizer(folders))
    {
    }

    std::string name() const { return m_recognizer->name(); }

    Labelled::Frame read(const Labelled::Frame &frame)
    {
        QImage image = drawn(frame);
        const cv::Mat picture(image.height(), image.width(), CV_8UC4, image.bits(),
                              static_cast<size_t>(image.bytesPerLine()));
        Labelled::Frame result{frame.subject, frame.language, {}};
        for (const coreai::CutLine &line : coreai::cutLines(picture)) {
            result.lines.push_back({textOf(line.bitmap), line.box.width, line.box.height});
        }
        return result;
    }

private:
    QString textOf(const cv::Mat &bitmap)
    {
        const QByteArray key(reinterpret_cast<const char *>(bitmap.data),
                             static_cast<int>(bitmap.total() * bitmap.elemSize()));
        auto known = m_texts.constFind(key);
        if (known == m_texts.constEnd()) {
            known = m_texts.insert(
                key, QString::fromStdString(
                         m_recognizer->read(bitmap).value_or(coreai::LineText()).text));
        }
        return *known;
    }

    std::unique_ptr<coreai::LineRecognizer> m_recognizer;
    QHash<QByteArray, QString> m_texts;
};
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const coreai::ModelFolders folders = coreai::ModelFolders::standard();
    const auto model = coreai::loadTextMeaning(folders);
    Labelled::Set set = Labelled::load(QStringLiteral(LABELLED_DATA));
    Reader reader(folders);
    if (model->tokenCount("words") == 0 || set.queries.empty()) {
        std::fprintf(stderr, "no text model or no labelled pages\n");
        return 1;
    }
    for (Labelled::Frame &frame : set.frames) {
        frame = reader.read(frame);
    }
    printSeparation(QStringLiteral("read by %1").arg(QString::fromStdString(reader.name())),
                    separation(set, scoresOf(*model, set), Labelled::Part::HeldOut, CutOff()));
    return 0;
}
