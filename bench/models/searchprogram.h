#pragma once
// The program's objects over a store, without a window, and what every measurement of its searches
// needs. Owner: the measurement, on its stack. Thread: main.

#include "app/configmanager.h"
#include "capture/screenhistorytracker.h"
#include "database/datahandler.h"
#include "models/videoimageprovider.h"
#include "models/videoinfo.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"

#include <QAbstractListModel>

#include <functional>
#include <vector>

namespace SearchProgram
{
constexpr int PATIENCE_MS = 60000;

struct Program {
    ConfigManager settings;
    ScreenHistoryTracker tracker;
    DataHandler handler{tracker};
    VideoReader reader{&handler};
    VideoImageProvider provider{&reader};
    VideoPreviewItem shown;
    VideoInfo info{&provider, &reader, &shown, &settings};

    QAbstractListModel *texts() { return info.textMatchResultModel(); }
    QAbstractListModel *pictures() { return info.imageMatchResultModel(); }
};

/// Ends the program with a message after a minute.
void awaitRows(const QAbstractListModel *model, int rows);

/// From the key to the row with that number; the search goes on.
double millisecondsToRow(const QAbstractListModel *model, int rows,
                         const std::function<void()> &search);

void print(const QString &name, double value, const QString &unit, double goal = 0.0,
           double floor = 0.0, const QString &floorName = QString());

/// Median and 95th percentile, which the goal is for.
void printTimes(const QString &name, const std::vector<double> &values, double goal);
} // namespace SearchProgram
