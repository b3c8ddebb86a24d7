// The names of the model files, as they stand in a model folder.

#pragma once

#include <QString>

namespace coreai
{
inline const QString lineModelFile = QStringLiteral("PP-OCRv6_rec_small.onnx");
inline const QString textMeaningFile = QStringLiteral("e5-small-q4.bin");
inline const QString pictureMeaningFile = QStringLiteral("clip.onnx");
inline const QString pictureTokenizerFile = QStringLiteral("clip-tokenizer.json");
} // namespace coreai
