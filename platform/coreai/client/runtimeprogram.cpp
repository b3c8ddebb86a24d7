#include "coreai/client/runtimeprogram.h"

#include <climits>
#include <mutex>
#include <unistd.h>

namespace coreai
{
namespace
{
std::mutex mutex;
std::vector<std::string> replacement;

std::string folderOfExecutable()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path));
    const std::string executable(path, length > 0 ? std::size_t(length) : 0);
    return executable.substr(0, executable.rfind('/'));
}
} // namespace

std::vector<std::string> runtimeProgram()
{
    const std::lock_guard lock(mutex);
    if (!replacement.empty()) {
        return replacement;
    }
    return {folderOfExecutable() + "/../" YESTERMARK_LIBEXECDIR "/yestermark-ai-runtime"};
}

void setRuntimeProgram(const std::vector<std::string> &command)
{
    const std::lock_guard lock(mutex);
    replacement = command;
}
} // namespace coreai
