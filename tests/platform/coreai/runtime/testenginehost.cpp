// Holds the test's engines as yestermark-ai-engines holds the real ones. Arguments: milliseconds
// that a line takes; the width of lines at which the process dies; that of lines that it cannot
// read.

#include "coreai/protocol/channelprocess.h"
#include "coreai/runtime/enginehost.h"
#include "testengines.h"

#include "coreai/engines/meaning/nullpicturemeaning.h"

#include <csignal>
#include <cstdlib>

namespace
{
class DyingRecognizer : public TestEngines::Recognizer
{
public:
    DyingRecognizer(int milliseconds, int deadlyWidth, int failingWidth)
        : Recognizer(milliseconds), m_deadlyWidth(deadlyWidth), m_failingWidth(failingWidth)
    {
    }
    std::optional<coreai::LineText> read(const cv::Mat &line) override
    {
        if (line.cols == m_deadlyWidth) {
            std::raise(SIGKILL);
        }
        return line.cols == m_failingWidth ? std::nullopt : Recognizer::read(line);
    }

private:
    int m_deadlyWidth;
    int m_failingWidth;
};
} // namespace

int main(int argc, char **argv)
{
    if (!coreai::ChannelProcess::endWithParent()) {
        return 1;
    }
    const int milliseconds = argc > 1 ? std::atoi(argv[1]) : 0;
    const int deadlyWidth = argc > 2 ? std::atoi(argv[2]) : -1;
    const int failingWidth = argc > 3 ? std::atoi(argv[3]) : -1;
    coreai::EngineHost host(
        coreai::Channel(coreai::Descriptor(coreai::ChannelProcess::channelDescriptor)),
        {[=] { return std::make_unique<DyingRecognizer>(milliseconds, deadlyWidth, failingWidth); },
         [] { return std::make_unique<TestEngines::Meaning>(); },
         [] { return std::make_unique<coreai::NullPictureMeaning>(); }});
    host.run();
    return 0;
}
