// Picture meaning by a CLIP model: one ONNX file with an image tower (pixel_values to image_embeds)
// and a text tower (input_ids, attention_mask to text_embeds), executed by OpenVINO on the CPU.
// Owner: the runtime's engine set. Thread: one at a time.

#pragma once

#include "coreai/engines/picturemeaning.h"

#include <QString>

#include <memory>

namespace coreai
{
class ClipPictureMeaning : public PictureMeaning
{
public:
    // Null where a file is missing, damaged or of another kind; `*fault` then tells why, in words
    // for the log.
    static std::unique_ptr<ClipPictureMeaning> load(const QString &modelFile,
                                                    const QString &tokenizerFile, QString *fault);
    ~ClipPictureMeaning() override;

    std::vector<float> ofPicture(const cv::Mat &picture) override;
    std::vector<float> ofText(const std::string &utf8) override;
    std::string name() const override;

private:
    struct Towers;
    explicit ClipPictureMeaning(std::unique_ptr<Towers> towers);

    std::unique_ptr<Towers> m_towers;
};
} // namespace coreai
