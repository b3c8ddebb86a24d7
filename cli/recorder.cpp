#include "cli/recorder.h"

#include "app/configmanager.h"
#include "coreai/engines/modelavailability.h"
#include "coreai/engines/modelfiles.h"
#include "history/storeplace.h"
#include "singleapplication/instanceplace.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QStorageInfo>

#include <gio/gio.h>

namespace
{
constexpr quint64 BYTES_OF_GIGABYTE = 1024ULL * 1024 * 1024;

// A picture's safety copy takes a few megabytes.
constexpr qint64 BYTES_OF_FRAME = 8LL * 1024 * 1024;

/// A schema that is missing would end the process that asks for its keys.
bool isSchemaInstalled()
{
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    GSettingsSchema *schema =
        source ? g_settings_schema_source_lookup(source, "com.tavel.yestermark", TRUE) : nullptr;
    if (schema) {
        g_settings_schema_unref(schema);
    }
    return schema != nullptr;
}

quint64 sizeOf(const QString &folder)
{
    quint64 bytes = 0;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        bytes += static_cast<quint64>(files.fileInfo().size());
    }
    return bytes;
}
} // namespace

Recorder::Settings Recorder::settings()
{
    Settings settings;
    settings.areInstalled = isSchemaInstalled();
    if (settings.areInstalled) {
        const ConfigManager config(nullptr);
        settings.isRecordingWanted = config.getRecordingMemory();
        settings.intervalSeconds = config.getScreenshotInterval();
        settings.ceilingBytes = config.getMaxStorageSize() * BYTES_OF_GIGABYTE;
    }
    return settings;
}

std::optional<qint64> Recorder::process()
{
    return InstancePlace::listener(QStringLiteral("tavel-ai-yestermark"));
}

Recorder::Engines Recorder::engines()
{
    const coreai::ModelFolders models = coreai::ModelFolders::standard();
    return {coreai::lineRecognizerAvailable(models), coreai::textMeaningAvailable(models),
            !models.find(coreai::pictureMeaningFile).isEmpty()};
}

Recorder::Sizes Recorder::sizes(const StorePlace &place)
{
    return {sizeOf(place.screenshots), sizeOf(place.databases), sizeOf(place.vectors)};
}

bool Recorder::isDiskFull(const QString &folder)
{
    QFileInfo there(folder);
    while (!there.exists() && !there.isRoot()) {
        there.setFile(there.absolutePath());
    }
    const QStorageInfo system(there.absoluteFilePath());
    return system.isValid() && system.bytesAvailable() < BYTES_OF_FRAME;
}
