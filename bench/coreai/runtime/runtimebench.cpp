// What recording costs in the AI runtime over a drawn session: CPU of a kept frame, embedding
// calls, memory. With a number as argument it reads that many frames of a smaller screen instead
// and tells the memory on the way.

#include "coreai/aisubsystem.h"
#include "coreai/client/runtimelink.h"
#include "coreai/client/runtimeprogram.h"
#include "coreai/coreaiembedding.h"
#include "coreai/coreaivision.h"
#include "processfigures.h"
#include "reading/drawnsession.h"
#include "support/figure.h"

#include <QBuffer>
#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <numeric>
#include <unistd.h>

namespace
{
constexpr int idleMs = 3000;

QByteArray encoded(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

// Both sessions that the recorder has, and its wait for answers.
class Recorder
{
public:
    Recorder()
        : m_vision(text_recognition_create_session()), m_embedding(image_embedding_create_session())
    {
        text_recognition_result_set_callback(m_vision, &Recorder::take, this);
        if (text_recognition_init_session(m_vision) != 0 ||
            image_embedding_init_session(m_embedding) != 0) {
            qFatal("the runtime does not start");
        }
        m_process = coreai::RuntimeLink::shared()->processId();
    }
    ~Recorder()
    {
        image_embedding_destroy_session(&m_embedding);
        text_recognition_destroy_session(&m_vision);
    }
    Q_DISABLE_COPY(Recorder)

    void hand(const QImage &frame)
    {
        const QByteArray png = encoded(frame, "PNG");
        const std::lock_guard lock(m_mutex);
        ++m_asked;
        text_recognition_recognize_text_from_image_data_async(
            m_vision, reinterpret_cast<const uint8_t *>(png.constData()), uint64_t(png.size()));
    }
    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_answer.wait(lock, [this] { return m_answered == m_asked; });
    }
    // Milliseconds of the call.
    double embed(const QImage &frame)
    {
        const QByteArray jpeg = encoded(frame, "JPEG").toBase64();
        return timed([&](EmbeddingResult **result) {
            return image_embedding_by_base64_image_data(m_embedding, jpeg.constData(), jpeg.size(),
                                                        result);
        });
    }
    double query(const QByteArray &text)
    {
        return timed([&](EmbeddingResult **result) {
            return text_embedding_by_image_model(m_embedding, text.constData(), result);
        });
    }
    pid_t process() const { return m_process; }
    int lines() const { return m_lines; }

private:
    static void take(TextRecognitionResult *result, void *userData)
    {
        auto *self = static_cast<Recorder *>(userData);
        int32_t count = 0;
        text_recognition_result_get_text_lines(result, &count);
        const std::lock_guard lock(self->m_mutex);
        self->m_lines = count;
        ++self->m_answered;
        self->m_answer.notify_all();
    }
    static double timed(const std::function<bool(EmbeddingResult **)> &call)
    {
        EmbeddingResult *result = nullptr;
        const double spent = Bench::milliseconds([&] {
            if (!call(&result)) {
                qWarning("an embedding call failed");
            }
        });
        embedding_result_destroy(&result);
        return spent;
    }

    TextRecognitionSession *m_vision;
    ImageEmbeddingSession *m_embedding;
    pid_t m_process = -1;
    std::mutex m_mutex;
    std::condition_variable m_answer;
    int m_asked = 0;
    int m_answered = 0;
    int m_lines = 0;
};

double mean(const std::vector<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

double percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values.at(std::size_t(std::lround(share * double(values.size() - 1))));
}

void print(const char *name, double value, const char *unit, double goal)
{
    Bench::print({QString::fromLatin1(name), value, QString::fromLatin1(unit), goal, 0, QString()});
}

// Until the runtime and its engines have used no CPU for a moment: vectors are computed after the
// answer.
double settledCpu(pid_t process)
{
    double before = -1;
    double now = ProcessFigures::cpuMilliseconds(process);
    while (now - before > 0.5) {
        ::usleep(150000);
        before = now;
        now = ProcessFigures::cpuMilliseconds(process);
    }
    return now;
}

// One thing after the other that a person does; what makes most of a screen new is rare.
void doNext(DrawnSession &session, int step)
{
    switch (step % 20) {
    case 4:
    case 12:
        session.scrollEditor(3);
        break;
    case 6:
        session.switchTo(1);
        break;
    case 7:
    case 8:
        session.receiveMessage();
        break;
    case 9:
        session.switchTo(0);
        break;
    case 13:
        session.moveSmallWindow({-150, 60});
        break;
    case 14:
        session.moveSmallWindow({150, -60});
        break;
    case 15:
        session.switchTo(2);
        break;
    case 16:
        session.turnPage();
        break;
    case 17:
        session.switchTo(0);
        break;
    case 19:
        session.scrollEditor(step % 40 == 39 ? -30 : 30);
        break;
    default:
        session.typeLine();
    }
}

double emptyCacheReading(const DrawnSession &session)
{
    Recorder recorder;
    const double before = settledCpu(recorder.process());
    recorder.hand(session.screen());
    recorder.wait();
    const double spent = settledCpu(recorder.process()) - before;
    std::printf("  %d lines read\n", recorder.lines());
    return spent;
}

void benchFrames(Recorder &recorder, DrawnSession &session, int frames, double emptyCache)
{
    std::vector<double> cpu;
    std::vector<double> calls;
    for (int frame = 0; frame < frames; ++frame) {
        doNext(session, frame);
        const QImage screen = session.screen();
        const double before = settledCpu(recorder.process());
        recorder.hand(screen);
        calls.push_back(recorder.embed(screen));
        recorder.wait();
        cpu.push_back(settledCpu(recorder.process()) - before);
    }
    print("kept frame with its embedding, CPU, median", Bench::median(cpu), "ms", 300);
    print("kept frame with its embedding, CPU, mean", mean(cpu), "ms", 800);
    print("kept frame, median, to a reading with an empty cache", Bench::median(cpu) / emptyCache,
          "ratio", 0.05);
    print("embedding of a kept frame, 95th percentile", percentile(calls, 0.95), "ms", 400);
    print("embedding of a kept frame, longest", percentile(calls, 1), "ms", 1000);
}

void benchStill(Recorder &recorder, const DrawnSession &session)
{
    std::vector<double> cpu;
    const QImage screen = session.screen();
    for (int round = 0; round < 10; ++round) {
        const double before = settledCpu(recorder.process());
        recorder.hand(screen);
        recorder.wait();
        cpu.push_back(settledCpu(recorder.process()) - before);
    }
    print("frame with nothing new, CPU", Bench::median(cpu), "ms", 40);
}

void benchQueries(Recorder &recorder)
{
    constexpr int rounds = 21;
    std::vector<double> calls;
    calls.reserve(rounds);
    for (int round = 0; round < rounds; ++round) {
        calls.push_back(recorder.query("budget meeting " + QByteArray::number(round)));
    }
    print("query, first after a pause", calls.front(), "ms", 1000);
    calls.erase(calls.begin());
    print("query", Bench::median(calls), "ms", 30);
}

void longRun(int frames)
{
    Recorder recorder;
    DrawnSession session({960, 600});
    for (int frame = 0; frame < frames; ++frame) {
        doNext(session, frame);
        if (frame % 50 == 0) {
            session.openFile();
        }
        recorder.hand(session.screen());
        recorder.wait();
        if (frame % std::max(1, frames / 10) == frames / 10 - 1) {
            std::printf("after %d frames: runtime and engines %.1f MB, this program %.1f MB\n",
                        frame + 1, ProcessFigures::residentMegabytes(recorder.process()),
                        ProcessFigures::ownMegabytes(::getpid()));
            std::fflush(stdout);
        }
    }
    ::usleep((idleMs + 2500) * 1000);
    print("runtime, resident when idle", ProcessFigures::residentMegabytes(recorder.process()),
          "MB", 40);
}

void benchAll()
{
    DrawnSession session;
    std::vector<double> empty;
    for (int window = 0; window < 3; ++window) {
        session.switchTo(window);
        empty.push_back(emptyCacheReading(session));
    }
    session.switchTo(0);
    const double emptyCache = Bench::median(empty);
    print("reading with an empty cache, CPU", emptyCache, "ms", 0);

    const double ownBefore = ProcessFigures::ownMegabytes(::getpid());
    Recorder recorder;
    const QImage first = session.screen();
    recorder.hand(first);
    print("embedding directly after the start", recorder.embed(first), "ms", 1000);
    recorder.wait();
    benchFrames(recorder, session, 60, emptyCache);
    benchStill(recorder, session);
    benchQueries(recorder);
    print("runtime and engines, resident while working",
          ProcessFigures::residentMegabytes(recorder.process()), "MB", 550);
    const double own = ProcessFigures::ownMegabytes(::getpid()) - ownBefore;
    print("growth of the program itself", own, "MB", 20);
    ::usleep((idleMs + 2500) * 1000);
    print("runtime, resident when idle", ProcessFigures::residentMegabytes(recorder.process()),
          "MB", 40);
    benchQueries(recorder);
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    if (!is_ai_subsystem_inited()) {
        std::printf("no models are installed: nothing is measured\n");
        return 0;
    }
    coreai::setRuntimeProgram({RUNTIME_PROGRAM, "--idle", std::to_string(idleMs)});
    if (argc > 1) {
        longRun(QByteArray(argv[1]).toInt());
    } else {
        benchAll();
    }
    return 0;
}
