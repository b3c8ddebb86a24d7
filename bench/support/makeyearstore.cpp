// makeyearstore HOME [ROWS]: a year of history below HOME, to look at the program with, and how
// long it took to make. With a screen there are videos, else rows alone.

#include "support/figure.h"
#include "support/yearstore.h"

#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() < 2) {
        QTextStream(stderr) << "usage: makeyearstore HOME [ROWS]\n";
        return 2;
    }
    YearStore::Options options;
    if (arguments.size() > 2) {
        options.rows = arguments[2].toInt();
    }
    YearStore::Facts facts;
    const double spent =
        Bench::milliseconds([&] { facts = YearStore::make(arguments[1], options); });
    QTextStream(stdout) << facts.rows << " rows in " << facts.videos << " videos, "
                        << facts.firstDay << " to " << facts.lastDay << ", " << spent << " ms\n";
    return 0;
}
