// The vision library's functions, as the script has it. Each session answers in order on a thread
// of its own.

#include "ai/coreaidouble/doublestate.h"

#include "coreai/coreaivision.h"

#include <deque>
#include <string>
#include <thread>
#include <vector>

using CoreAiDouble::note;
using CoreAiDouble::state;

// NOLINTBEGIN(bugprone-reserved-identifier): the interface declares these names.
struct _TextRecognitionModelConfig {
};

struct _TextLine {
    CoreAiDouble::Line line;
    std::vector<TextPoint> points;
};

struct _TextRecognitionResult {
    std::vector<TextLine> lines;
    std::vector<TextLine *> handles;
};

struct _TextRecognitionSession {
    _TextRecognitionSession() : thread([this] { answerAll(); }) {}
    ~_TextRecognitionSession();

    void answerAll();
    void answer(const std::string &picture);

    // Both under the script's lock, as is what follows them.
    bool isEnding = false;
    std::deque<std::string> pictures;
    TextRecognitionCallback callback = nullptr;
    void *userData = nullptr;
    std::thread thread; ///< last, so that it starts when the rest is there
};
// NOLINTEND(bugprone-reserved-identifier)

_TextRecognitionSession::~_TextRecognitionSession()
{
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        isEnding = true;
    }
    state().released.notify_all();
    thread.join();
}

void _TextRecognitionSession::answerAll()
{
    std::unique_lock<std::mutex> lock(state().mutex);
    for (;;) {
        state().released.wait(
            lock, [this] { return isEnding || (!pictures.empty() && !state().holdsAnswers); });
        if (isEnding) {
            return;
        }
        const std::string picture = pictures.front();
        pictures.pop_front();
        lock.unlock();
        answer(picture);
        lock.lock();
    }
}

void _TextRecognitionSession::answer(const std::string &picture)
{
    std::unique_lock<std::mutex> lock(state().mutex);
    const CoreAiDouble::Reader reader = state().reader;
    const TextRecognitionCallback receiver = callback;
    void *const receiverData = userData;
    lock.unlock();
    const CoreAiDouble::Reading reading = reader(QByteArray::fromStdString(picture));
    if (!receiver) {
        return;
    }
    TextRecognitionResult result;
    for (const CoreAiDouble::Line &line : reading.lines) {
        TextLine handle{line, {}};
        for (const QPoint &corner : line.corners) {
            handle.points.push_back({corner.x(), corner.y()});
        }
        result.lines.push_back(handle);
    }
    for (TextLine &line : result.lines) {
        result.handles.push_back(&line);
    }
    for (int time = 0; time < reading.times; ++time) {
        receiver(reading.isNull ? nullptr : &result, receiverData);
    }
}

TextRecognitionSession *text_recognition_create_session()
{
    note(__func__);
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        if (state().refusesVision) {
            return nullptr;
        }
    }
    return new TextRecognitionSession;
}

TextRecognitionModelConfig *text_recognition_model_config_create()
{
    note(__func__);
    return new TextRecognitionModelConfig;
}

void text_recognition_model_config_set_name(TextRecognitionModelConfig * /*config*/,
                                            const char *name)
{
    note(__func__, name);
}

void text_recognition_model_config_set_deploy_type(TextRecognitionModelConfig * /*config*/,
                                                   int32_t type)
{
    note(__func__, std::to_string(type));
}

void text_recognition_set_model_config(TextRecognitionSession * /*session*/,
                                       const TextRecognitionModelConfig * /*config*/)
{
    note(__func__);
}

int32_t text_recognition_init_session(TextRecognitionSession * /*session*/)
{
    note(__func__);
    CoreAiDouble::awaitStart();
    const std::lock_guard<std::mutex> lock(state().mutex);
    if (state().visionFailures == 0) {
        return 0;
    }
    --state().visionFailures;
    return state().visionStatus;
}

void text_recognition_result_set_callback(TextRecognitionSession *session,
                                          TextRecognitionCallback callback, void *userData)
{
    note(__func__);
    const std::lock_guard<std::mutex> lock(state().mutex);
    session->callback = callback;
    session->userData = userData;
}

void text_recognition_recognize_text_from_image_data_async(TextRecognitionSession *session,
                                                           const uint8_t *data, uint64_t size)
{
    note(__func__);
    const std::string picture(reinterpret_cast<const char *>(data), size);
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        state().readPictures.push_back(picture);
        session->pictures.push_back(picture);
    }
    state().released.notify_all();
}

TextLine *const *text_recognition_result_get_text_lines(TextRecognitionResult *result,
                                                        int32_t *count)
{
    *count = static_cast<int32_t>(result->handles.size());
    return result->handles.empty() ? nullptr : result->handles.data();
}

const char *text_line_get_value(TextLine *line)
{
    return line->line.text.constData();
}

const TextPoint *text_line_get_corner_points(TextLine *line, int32_t *count)
{
    *count = static_cast<int32_t>(line->points.size());
    return line->line.hasCorners ? line->points.data() : nullptr;
}

void text_recognition_model_config_destroy(TextRecognitionModelConfig **config)
{
    note(__func__);
    delete *config;
    *config = nullptr;
}

void text_recognition_destroy_session(TextRecognitionSession **session)
{
    note(__func__);
    delete *session;
    *session = nullptr;
}
