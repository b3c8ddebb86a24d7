// yestermark-ai-runtime: reads and embeds for one program, whose client libraries start it with
// their socket as descriptor 3, and ends with it. Its own work, some hundredths of a second a
// frame, is done at the usual priority, since the recorder waits for it; the engines', which takes
// a hundred times as long, at the lowest. It can start the engines, read models, and else only
// compute. The options are for tests and benchmarks.

#include "coreai/engines/modelavailability.h"
#include "coreai/engines/modelfiles.h"
#include "coreai/protocol/channelprocess.h"
#include "coreai/runtime/confinedrights.h"
#include "coreai/runtime/descriptorlimit.h"
#include "coreai/runtime/engineprocess.h"
#include "coreai/runtime/runtimeservice.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdlib>
#include <pthread.h>

using namespace coreai;

namespace
{
struct Options {
    QCommandLineOption engines{QStringLiteral("engines"),
                               QStringLiteral("Program that holds the engines."),
                               QStringLiteral("path")};
    QCommandLineOption models{QStringLiteral("models"), QStringLiteral("Folder with the models."),
                              QStringLiteral("path")};
    QCommandLineOption power{QStringLiteral("power"),
                             QStringLiteral("Folder that tells of batteries."),
                             QStringLiteral("path"), QStringLiteral("/sys/class/power_supply")};
    QCommandLineOption idle{QStringLiteral("idle"),
                            QStringLiteral("Milliseconds without work until models are unloaded."),
                            QStringLiteral("ms"), QStringLiteral("60000")};
};

std::vector<std::string> engineCommand(const QCommandLineParser &parser, const Options &options)
{
    const QString standard =
        QCoreApplication::applicationDirPath() + QStringLiteral("/yestermark-ai-engines");
    const bool replaced = parser.isSet(options.engines);
    std::vector<std::string> command{
        (replaced ? parser.value(options.engines) : standard).toStdString()};
    for (const QString &argument : parser.positionalArguments()) {
        command.push_back(argument.toStdString());
    }
    return command;
}
} // namespace

int main(int argc, char **argv)
{
    raiseDescriptorLimit();
    QCoreApplication application(argc, argv);
    pthread_setname_np(pthread_self(), "ai runtime");

    const Options options;
    QCommandLineParser parser;
    parser.addOptions({options.engines, options.models, options.power, options.idle});
    parser.addPositionalArgument(QStringLiteral("arguments"),
                                 QStringLiteral("For the program that holds the engines."));
    parser.addHelpOption();
    parser.process(application);

    const ModelFolders models = parser.isSet(options.models)
                                    ? ModelFolders({parser.value(options.models)})
                                    : ModelFolders::standard();
    const std::vector<std::string> engines = engineCommand(parser, options);
    confinement::confine(rightsOfRuntime(models, engines, parser.value(options.power)));
    Worker::Settings settings;
    settings.idleTime = std::chrono::milliseconds(parser.value(options.idle).toInt());
    settings.power = PowerState(parser.value(options.power));
    settings.pictureModel = !models.find(pictureMeaningFile).isEmpty();
    RuntimeService service(Channel(Descriptor(ChannelProcess::channelDescriptor)),
                           {lineRecognizerAvailable(models), textMeaningAvailable(models)},
                           std::make_unique<EngineProcess>(engines), std::move(settings));
    service.run();
    // Not by the destructors: a line may still be read, and nobody waits for it. The engines'
    // process ends with this one.
    std::_Exit(0);
}
