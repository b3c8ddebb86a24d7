#include "support/figure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <limits>

namespace Bench
{
namespace
{
double processCpuMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1e3 + time.tv_nsec / 1e6;
}
} // namespace

double milliseconds(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> spent =
        std::chrono::steady_clock::now() - start;
    return spent.count();
}

double cpuMilliseconds(const std::function<void()> &work)
{
    const double start = processCpuMilliseconds();
    work();
    return processCpuMilliseconds() - start;
}

double median(std::vector<double> values)
{
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double medianMilliseconds(int rounds, const std::function<void()> &work)
{
    work();
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(rounds));
    for (int round = 0; round < rounds; ++round) {
        values.push_back(milliseconds(work));
    }
    return median(values);
}

void Times::measure(const std::function<void()> &work)
{
    cpu.push_back(cpuMilliseconds([&] { wall.push_back(milliseconds(work)); }));
}

void print(const Figure &figure)
{
    QString line =
        QStringLiteral("%1: %2 %3").arg(figure.name).arg(figure.value, 0, 'f', 2).arg(figure.unit);
    if (figure.goal > 0.0) {
        line += QStringLiteral(", goal %1 %2")
                    .arg(figure.goal, 0, 'f', 2)
                    .arg(figure.value <= figure.goal ? QStringLiteral("met")
                                                     : QStringLiteral("MISSED"));
    }
    if (figure.floor > 0.0) {
        line += QStringLiteral(", floor (%1) %2, ratio %3")
                    .arg(figure.floorName)
                    .arg(figure.floor, 0, 'f', 2)
                    .arg(figure.value / figure.floor, 0, 'f', 2);
    }
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

const std::vector<QSize> &screenSizes()
{
    static const std::vector<QSize> sizes{{1920, 1080}, {3840, 2160}};
    return sizes;
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}
} // namespace Bench
