// A damaged file of rows of a vector store, from which the matrix is built, searched, added to and
// deleted from. An input is the file, of a collection of vectors of eight parts.

#include "fuzz/support/harness.h"
#include "fuzz/support/scratch.h"

#include "vectordb/local/vectorstore.h"

#include <QDir>

namespace
{
constexpr char COLLECTION[] = "screenshots";
constexpr int DIMENSION = 8;

void use(VectorDB::VectorStore &store)
{
    VectorDB::SearchArguments arguments;
    arguments.SetCollectionName(COLLECTION);
    arguments.SetTopK(5);
    arguments.AddOutputField("videoName");
    arguments.AddTargetVector("vector", std::vector<float>(DIMENSION, 0.5F));
    VectorDB::SearchResults found;
    store.search(arguments, found);
    VectorDB::DmlResults changed;
    store.remove(COLLECTION, "10 <= realTime && realTime <= 20", changed);
    store.search(arguments, found);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    const QString folder = Scratch::path(QStringLiteral("store"));
    QDir().mkpath(folder);
    Scratch::write(QStringLiteral("store/vectors.db"),
                   {reinterpret_cast<const char *>(data), size});
    {
        VectorDB::VectorStore store;
        if (store.open(folder.toStdString() + '/').IsOk()) {
            use(store);
        }
    }
    QDir(folder).removeRecursively();
    return 0;
}
