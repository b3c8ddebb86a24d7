// Any picture cut into lines. An input is a width, a height, how often each byte is repeated, and
// the grey values, row by row, again from the beginning where they end.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "coreai/reading/linecut.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    InputBytes input(data, size);
    const int width = static_cast<int>(input.below(400));
    const int height = static_cast<int>(input.below(200));
    const unsigned repeated = 1 + input.below(12);
    const std::string_view greys = input.rest();
    cv::Mat picture(height, width, CV_8UC4, cv::Scalar(255, 255, 255, 255));
    for (int y = 0; y < height && !greys.empty(); ++y) {
        for (int x = 0; x < width; ++x) {
            const std::size_t place = (std::size_t(y) * width + x) / repeated;
            const auto grey = static_cast<std::uint8_t>(greys[place % greys.size()]);
            picture.at<cv::Vec4b>(y, x) = {grey, grey, grey, 0};
        }
    }
    const cv::Rect whole(0, 0, width, height);
    for (const coreai::CutLine &line : coreai::cutLines(picture)) {
        Scratch::require(!line.box.empty() && (line.box & whole) == line.box,
                         "a box within the picture");
        Scratch::require(line.bitmap.type() == CV_8UC4 && line.bitmap.isContinuous() &&
                             !line.bitmap.empty(),
                         "a bitmap of the promised kind");
    }
    return 0;
}
