#include "coreai/engines/meaning/e5modelfile.h"

#include <QByteArray>
#include <QFile>
#include <QHash>

#include <cstring>

namespace coreai
{
namespace
{
// The shape of multilingual-e5-small; the calibration belongs to this model alone.
constexpr int width = 384;
constexpr int layers = 12;
constexpr int heads = 12;
constexpr int innerWidth = 1536;
constexpr int positions = 512;
constexpr int blockWeights = 32;
constexpr quint64 blockBytes = 18; // a half-precision scale and 32 weights of four bits

constexpr int largestVocabulary = 1000000;
constexpr int mostTensors = 4096;

// Reads forward through the file's bytes; the first read beyond the end makes it and all later ones
// fail and give zeros.
class Bytes
{
public:
    Bytes(const uchar *data, quint64 size) : m_data(data), m_size(size) {}

    bool ok() const { return m_ok; }
    quint64 size() const { return m_size; }

    const uchar *take(quint64 count)
    {
        if (!m_ok || count > m_size - m_at) {
            m_ok = false;
            return nullptr;
        }
        const uchar *here = m_data + m_at;
        m_at += count;
        return here;
    }

    template <typename T>
    T value()
    {
        T result{};
        if (const uchar *here = take(sizeof(T))) {
            memcpy(&result, here, sizeof(T));
        }
        return result;
    }

private:
    const uchar *m_data;
    quint64 m_size;
    quint64 m_at = 0;
    bool m_ok = true;
};

struct Extent {
    quint64 offset = 0;
    quint64 bytes = 0;
};

template <typename T>
T at(const uchar *table, int index)
{
    T value{};
    memcpy(&value, table + sizeof(T) * static_cast<size_t>(index), sizeof(T));
    return value;
}

QString headerFault(Bytes &bytes, int &vocabulary)
{
    const uchar *magic = bytes.take(4);
    if (!magic || memcmp(magic, "E5S1", 4) != 0) {
        return QStringLiteral("not a model of this kind");
    }
    bytes.value<quint32>(); // version
    const int shape[] = {width, layers, heads, innerWidth};
    bool same = true;
    for (const int expected : shape) {
        same = bytes.value<qint32>() == expected && same;
    }
    vocabulary = bytes.value<qint32>();
    same = bytes.value<qint32>() == positions && same;
    bytes.value<qint32>(); // token types
    bytes.value<float>();  // epsilon
    same = bytes.value<qint32>() == blockWeights && same;
    if (!bytes.ok() || !same || vocabulary <= 0 || vocabulary > largestVocabulary) {
        return QStringLiteral("a model of another shape");
    }
    return {};
}

QString tokenizerFault(Bytes &bytes, int vocabulary)
{
    QString fault = QStringLiteral("its vocabulary is damaged");
    const auto pieces = bytes.value<qint32>();
    if (!bytes.ok() || pieces <= 0 || pieces > vocabulary) {
        return fault;
    }
    for (int special = 0; special < 4; ++special) {
        const auto id = bytes.value<qint32>();
        if (id < 0 || id >= vocabulary) {
            return fault;
        }
    }
    const auto textBytes = bytes.value<quint64>();
    const uchar *offsets = bytes.take(4ULL * (static_cast<quint64>(pieces) + 1));
    bytes.take(4ULL * static_cast<quint64>(pieces)); // scores
    bytes.take(textBytes);
    if (!bytes.ok()) {
        return fault;
    }
    for (int piece = 0; piece < pieces; ++piece) {
        const auto begin = at<quint32>(offsets, piece);
        const auto end = at<quint32>(offsets, piece + 1);
        if (begin > end || end > textBytes) {
            return fault;
        }
    }
    return {};
}

QString normalizerFault(Bytes &bytes)
{
    QString fault = QStringLiteral("its character table is damaged");
    const auto entries = bytes.value<qint32>();
    const auto tableBytes = bytes.value<quint32>();
    const uchar *table = bytes.take(tableBytes);
    if (!bytes.ok() || entries < 0) {
        return fault;
    }
    Bytes rows(table, tableBytes);
    for (int entry = 0; entry < entries && rows.ok(); ++entry) {
        rows.value<quint32>();
        rows.take(4ULL * rows.value<quint8>());
    }
    return rows.ok() ? QString() : fault;
}

QString directoryFault(Bytes &bytes, QHash<QByteArray, Extent> &tensors)
{
    QString fault = QStringLiteral("its directory is damaged");
    const auto count = bytes.value<qint32>();
    if (!bytes.ok() || count < 0 || count > mostTensors) {
        return fault;
    }
    for (int tensor = 0; tensor < count; ++tensor) {
        const auto length = bytes.value<quint16>();
        const uchar *name = bytes.take(length);
        bytes.value<quint8>();  // type
        bytes.value<quint32>(); // number of values
        Extent extent;
        extent.offset = bytes.value<quint64>();
        extent.bytes = bytes.value<quint64>();
        if (!bytes.ok() || extent.offset > bytes.size() ||
            extent.bytes > bytes.size() - extent.offset) {
            return fault;
        }
        tensors.insert(QByteArray(reinterpret_cast<const char *>(name), length), extent);
    }
    return {};
}

constexpr quint64 matrixBytes(quint64 rows, quint64 columns)
{
    return rows * (columns / blockWeights) * blockBytes;
}

QHash<QByteArray, quint64> neededTensors(int vocabulary)
{
    QHash<QByteArray, quint64> needed{
        {"emb.word", matrixBytes(static_cast<quint64>(vocabulary), width)},
        {"emb.pos", 4ULL * positions * width},
        {"emb.type", 4ULL * width},
        {"emb.ln.w", 4ULL * width},
        {"emb.ln.b", 4ULL * width},
    };
    const std::pair<const char *, quint64> each[] = {
        {"q.w", matrixBytes(width, width)},
        {"q.b", 4ULL * width},
        {"k.w", matrixBytes(width, width)},
        {"k.b", 4ULL * width},
        {"v.w", matrixBytes(width, width)},
        {"v.b", 4ULL * width},
        {"ao.w", matrixBytes(width, width)},
        {"ao.b", 4ULL * width},
        {"aln.w", 4ULL * width},
        {"aln.b", 4ULL * width},
        {"fi.w", matrixBytes(innerWidth, width)},
        {"fi.b", 4ULL * innerWidth},
        {"fo.w", matrixBytes(width, innerWidth)},
        {"fo.b", 4ULL * width},
        {"oln.w", 4ULL * width},
        {"oln.b", 4ULL * width},
    };
    for (int layer = 0; layer < layers; ++layer) {
        for (const auto &[name, bytes] : each) {
            needed.insert("l" + QByteArray::number(layer) + "." + name, bytes);
        }
    }
    return needed;
}

QString tensorFault(const QHash<QByteArray, Extent> &tensors, int vocabulary)
{
    const QHash<QByteArray, quint64> needed = neededTensors(vocabulary);
    for (auto it = needed.cbegin(); it != needed.cend(); ++it) {
        const auto found = tensors.constFind(it.key());
        if (found == tensors.cend() || found->bytes < it.value()) {
            return QStringLiteral("it lacks ") + QString::fromLatin1(it.key());
        }
    }
    return {};
}
} // namespace

QString e5ModelFault(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return file.errorString();
    }
    const uchar *data = file.map(0, file.size());
    if (!data) {
        return QStringLiteral("it is empty or cannot be mapped");
    }
    Bytes bytes(data, static_cast<quint64>(file.size()));
    int vocabulary = 0;
    QHash<QByteArray, Extent> tensors;
    QString fault = headerFault(bytes, vocabulary);
    fault = fault.isEmpty() ? tokenizerFault(bytes, vocabulary) : fault;
    fault = fault.isEmpty() ? normalizerFault(bytes) : fault;
    fault = fault.isEmpty() ? directoryFault(bytes, tensors) : fault;
    return fault.isEmpty() ? tensorFault(tensors, vocabulary) : fault;
}
} // namespace coreai
