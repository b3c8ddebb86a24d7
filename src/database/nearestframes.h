#pragma once
// The frames whose vectors lie nearest to that of a text and hardly worse than the best of them, in
// whichever vector store is given. Plain functions. Any thread.

#include "database/screenshotdata.h"
#include "vectordb/database.h"

#include <QVector>

#include <string>

namespace NearestFrames
{
/// The store's collection of frames' vectors.
VectorDB::CollectionSchema collectionSchema(const std::string &name);
VectorDB::IndexDesc collectionIndex();

/// Best first. Only videoName, frameIndexOfVideo and realTime are filled in. The query's limit is
/// that of the store's answer, before the weak ones are left out; its times bound nothing. Empty,
/// with a line on the log, where the store refuses; @p status then tells why.
QVector<ScreenShotData> find(VectorDB::Database &store, const std::string &collection,
                             const SearchQuery &query, const QVector<float> &embedding,
                             VectorDB::Status *status = nullptr);
} // namespace NearestFrames
