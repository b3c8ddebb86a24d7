// Words found in frames whose text is known, by the cut with the engine that is installed and by
// Tesseract on the whole frame, and what reading them costs with nothing known before.
//
// wordsfoundbench [FOLDER]: frames FOLDER/*.png with their text in FOLDER/*.txt; without a folder,
// pages that are drawn here.

#include "coreai/engines/modelfolders.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "reading/linecut.h"
#include "support/figure.h"
#include "textpages.h"

#ifdef WITH_TESSERACT
#include <tesseract/baseapi.h>
// Of the OpenMP runtime that Tesseract links: without it a frame takes four threads.
extern "C" void omp_set_max_active_levels(int levels);
#endif

#include <opencv2/core/utility.hpp>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QTextStream>

#include <functional>

namespace
{
// 1080p full of text, from the first pixel on.
constexpr double densePageGoal = 8000;

bool isChinese(QChar character)
{
    return character.unicode() >= 0x3400 && character.unicode() <= 0x9fff;
}

// The words of a text with their numbers; Chinese ones, which no space parts, by the character.
QHash<QString, int> wordsOf(const QString &text)
{
    QHash<QString, int> words;
    QString word;
    const auto finish = [&] {
        if (!word.isEmpty())
            ++words[word];
        word.clear();
    };
    for (const QChar character : text) {
        if (isChinese(character)) {
            finish();
            ++words[QString(character)];
        } else if (character.isSpace()) {
            finish();
        } else {
            word += character;
        }
    }
    finish();
    return words;
}

// Per cent of the words of `truth` that `read` lacks; a word that stands there twice is to be read
// twice.
double percentMissed(const QString &truth, const QString &read)
{
    int all = 0;
    int found = 0;
    const QHash<QString, int> words = wordsOf(truth);
    for (auto word = words.cbegin(); word != words.cend(); ++word) {
        all += word.value();
        found += qMin(word.value(), int(read.count(word.key())));
    }
    return all > 0 ? 100.0 * (all - found) / all : 0.0;
}

std::vector<TextPages::Page> pagesOf(const QString &folder)
{
    std::vector<TextPages::Page> pages;
    const QDir frames(folder);
    for (const QString &name :
         frames.entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name)) {
        const QString base = frames.filePath(name.chopped(4));
        QFile text(base + QStringLiteral(".txt"));
        if (!text.open(QIODevice::ReadOnly))
            continue;
        const QImage picture =
            QImage(base + QStringLiteral(".png")).convertToFormat(QImage::Format_RGB32);
        pages.push_back({name.chopped(4), picture, QString::fromUtf8(text.readAll())});
    }
    return pages;
}

struct Reading {
    QString text;
    double cpuMilliseconds = 0;
};

Reading readCut(QImage picture, coreai::LineRecognizer &engine)
{
    Reading reading;
    const cv::Mat pixels(picture.height(), picture.width(), CV_8UC4, picture.bits(),
                         std::size_t(picture.bytesPerLine()));
    reading.cpuMilliseconds = Bench::cpuMilliseconds([&] {
        for (const coreai::CutLine &line : coreai::cutLines(pixels))
            reading.text +=
                QString::fromStdString(engine.read(line.bitmap).value_or(coreai::LineText()).text) +
                QLatin1Char('\n');
    });
    return reading;
}

void print(const QString &page, const QString &engine, const QString &truth, const Reading &reading,
           double goal, double timeGoal)
{
    Bench::Figure missed;
    missed.name = QStringLiteral("words missed, %1, %2").arg(page, engine);
    missed.value = percentMissed(truth, reading.text);
    missed.unit = QStringLiteral("%");
    missed.goal = goal;
    Bench::print(missed);
    Bench::Figure time;
    time.name = QStringLiteral("reading anew, %1, %2").arg(page, engine);
    time.value = reading.cpuMilliseconds;
    time.unit = QStringLiteral("ms");
    time.goal = timeGoal;
    Bench::print(time);
}

#ifdef WITH_TESSERACT
// Reads whole frames as Tesseract does on its own; empty where it has no language data.
std::function<Reading(const QImage &)> wholeFrameReader()
{
    auto api = std::make_shared<tesseract::TessBaseAPI>();
    api->SetVariable("debug_file", "/dev/null");
    if (api->Init(nullptr, "eng+chi_sim", tesseract::OEM_LSTM_ONLY) != 0)
        return {};
    omp_set_max_active_levels(0);
    api->SetPageSegMode(tesseract::PSM_SPARSE_TEXT);
    return [api](const QImage &picture) {
        const QImage colours = picture.convertToFormat(QImage::Format_RGB888);
        Reading reading;
        reading.cpuMilliseconds = Bench::cpuMilliseconds([&] {
            api->SetImage(colours.constBits(), colours.width(), colours.height(), 3,
                          colours.bytesPerLine());
            const std::unique_ptr<char[]> text(api->GetUTF8Text());
            reading.text = QString::fromUtf8(text.get());
        });
        return reading;
    };
}
#endif
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    cv::setNumThreads(1);
    const std::unique_ptr<coreai::LineRecognizer> engine =
        coreai::loadLineRecognizer(coreai::ModelFolders::standard());
    const QString name = QString::fromStdString(engine->name());
    const std::vector<TextPages::Page> pages =
        argc > 1 ? pagesOf(QString::fromLocal8Bit(argv[1])) : TextPages::all({1920, 1080});
    if (pages.empty()) {
        QTextStream(stderr) << "no frames with their text in " << argv[1] << '\n';
        return 1;
    }
    readCut(pages.front().picture.copy(0, 0, 400, 200), *engine); // what is made at the first use
    for (const TextPages::Page &page : pages)
        print(page.name, name, page.text, readCut(page.picture, *engine), 5, densePageGoal);
#ifdef WITH_TESSERACT
    if (const auto reader = wholeFrameReader()) {
        for (const TextPages::Page &page : pages)
            print(page.name, QStringLiteral("Tesseract, whole frame"), page.text,
                  reader(page.picture), 0, 0);
    }
#endif
    return 0;
}
