#include "searchprogram.h"

#include "support/figure.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cmath>

namespace
{
double percentile95(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(
        static_cast<std::size_t>(std::ceil(static_cast<double>(values.size()) * 0.95)) - 1);
}
} // namespace

void SearchProgram::awaitRows(const QAbstractListModel *model, int rows)
{
    QElapsedTimer clock;
    clock.start();
    while (model->rowCount() < rows) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (clock.elapsed() > PATIENCE_MS) {
            qFatal("a search shows %d rows and not %d", model->rowCount(), rows);
        }
    }
}

double SearchProgram::millisecondsToRow(const QAbstractListModel *model, int rows,
                                        const std::function<void()> &search)
{
    return Bench::milliseconds([&] {
        search();
        awaitRows(model, rows);
    });
}

void SearchProgram::print(const QString &name, double value, const QString &unit, double goal,
                          double floor, const QString &floorName)
{
    Bench::print({name, value, unit, goal, floor, floorName});
}

void SearchProgram::printTimes(const QString &name, const std::vector<double> &values, double goal)
{
    print(name + QStringLiteral(", median of %1").arg(values.size()), Bench::median(values), "ms");
    print(name + QStringLiteral(", p95"), percentile95(values), "ms", goal);
}
