#include "cli/meaning.h"

#include "coreai/coreaiembedding.h"
#include "coreai/engines/modelavailability.h"
#include "database/nearestframes.h"
#include "vectordb/databaseloader.h"

#include <QFile>

#include <algorithm>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace
{
constexpr char COLLECTION[] = "screenshots";

struct SessionDeleter {
    void operator()(ImageEmbeddingSession *session) const
    {
        image_embedding_destroy_session(&session);
    }
};
struct ResultDeleter {
    void operator()(EmbeddingResult *result) const { embedding_result_destroy(&result); }
};

/// Keeps what others write to the standard error away while it lives: the runtime tells there which
/// engines it has loaded.
class QuietErrors
{
public:
    QuietErrors() : m_former(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere >= 0) {
            ::dup2(nowhere, STDERR_FILENO);
            ::close(nowhere);
        }
    }
    ~QuietErrors()
    {
        if (m_former >= 0) {
            ::dup2(m_former, STDERR_FILENO);
            ::close(m_former);
        }
    }
    Q_DISABLE_COPY(QuietErrors)

private:
    int m_former;
};

/// Empty without a runtime that answers.
QVector<float> vectorOf(const QString &text)
{
    if (!coreai::textMeaningAvailable(coreai::ModelFolders::standard())) {
        return {};
    }
    const QuietErrors quiet;
    const std::unique_ptr<ImageEmbeddingSession, SessionDeleter> session(
        image_embedding_create_session());
    if (!session || image_embedding_init_session(session.get()) != 0) {
        return {};
    }
    EmbeddingResult *handle = nullptr;
    const bool isEmbedded =
        text_embedding_by_image_model(session.get(), text.toUtf8().constData(), &handle);
    const std::unique_ptr<EmbeddingResult, ResultDeleter> result(handle);
    const int length = isEmbedded ? embedding_result_get_vector_length(result.get()) : 0;
    QVector<float> vector(std::max(0, length));
    if (length > 0) {
        std::copy_n(embedding_result_get_vector_data(result.get()), length, vector.begin());
    }
    return vector;
}
} // namespace

Meaning::Outcome Meaning::find(const QString &text, QVector<ScreenShotData> &frames)
{
    if (!QFile::exists(m_folder + QLatin1String("/vectors.db"))) {
        return Outcome::NoVectors;
    }
    const std::shared_ptr<VectorDB::Database> store = VectorDB::DatabaseLoader::reader(
        NearestFrames::collectionSchema(COLLECTION), NearestFrames::collectionIndex());
    VectorDB::ConnectParam place;
    place.SetDirectory(QFile::encodeName(m_folder).toStdString());
    VectorDB::Status status = store->Connect(place);
    if (status.IsOk()) {
        const QVector<float> vector = vectorOf(text);
        if (vector.isEmpty()) {
            return Outcome::NoRuntime;
        }
        frames = NearestFrames::find(*store, COLLECTION, SearchQuery(), vector, &status);
    }
    m_error = QString::fromStdString(status.Message());
    return status.IsOk() ? Outcome::Found : Outcome::Unsearchable;
}
