// yestermark-ai-engines: the engines of the AI runtime, which starts it with a socket as
// descriptor 3, and ends it to get the memory back. It meets what windows showed, so it can do
// nothing but compute.

#include "coreai/engines/meaning/meaningloader.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "coreai/protocol/channelprocess.h"
#include "coreai/runtime/confinedrights.h"
#include "coreai/runtime/enginehost.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdlib>
#include <pthread.h>
#include <unistd.h>

using namespace coreai;

int main(int argc, char **argv)
{
    // The runtime's worker starts this process and lives as long as the runtime.
    if (!ChannelProcess::endWithParent()) {
        return 1;
    }
    QCoreApplication application(argc, argv); // for the folders of the models
    pthread_setname_np(pthread_self(), "ai engines");
    const ModelFolders models =
        argc > 1 ? ModelFolders({QDir(QString::fromLocal8Bit(argv[1])).absolutePath()})
                 : ModelFolders::standard();
    // Away from the folder that the program was started in: OpenVINO looks for plug-ins there too.
    if (::chdir("/") != 0) {
        return 1;
    }
    confinement::confine(rightsOfEngines(models));
    EngineHost host(Channel(Descriptor(ChannelProcess::channelDescriptor)),
                    {[&models] { return loadLineRecognizer(models); },
                     [&models] { return loadTextMeaning(models); },
                     [&models] { return loadPictureMeaning(models); }});
    host.run();
    // Not by the destructors, which would take the engines' memory apart piece by piece.
    std::_Exit(0);
}
