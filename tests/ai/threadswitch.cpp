#include "threadswitch.h"

#include <dlfcn.h>
#include <opencv2/core/utility.hpp>
#include <stdexcept>

namespace
{
ThreadSwitch::Failure failure = ThreadSwitch::Failure::None;
QVector<int> seen;
} // namespace

namespace cv
{
void setNumThreads(int count)
{
    seen.append(count);
    switch (failure) {
    case ThreadSwitch::Failure::Standard:
        throw std::runtime_error("out of luck");
    case ThreadSwitch::Failure::Unknown:
        throw 42;
    case ThreadSwitch::Failure::None:
        break;
    }
    using Function = void (*)(int);
    static const auto real =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN2cv13setNumThreadsEi"));
    real(count);
}
} // namespace cv

namespace ThreadSwitch
{
void fail(Failure kind)
{
    failure = kind;
}

QVector<int> calls()
{
    return seen;
}
} // namespace ThreadSwitch
