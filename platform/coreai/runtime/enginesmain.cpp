// yestermark-ai-engines: the engines of the AI runtime, which starts it with a socket as
// descriptor 3, and ends it to get the memory back.

#include "coreai/engines/meaning/meaningloader.h"
#include "coreai/engines/reading/loadlinerecognizer.h"
#include "coreai/protocol/channelprocess.h"
#include "coreai/runtime/enginehost.h"

#include <QCoreApplication>

#include <pthread.h>

using namespace coreai;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv); // for the folders of the models
    pthread_setname_np(pthread_self(), "ai engines");
    const ModelFolders models =
        argc > 1 ? ModelFolders({QString::fromLocal8Bit(argv[1])}) : ModelFolders::standard();
    EngineHost host(Channel(Descriptor(ChannelProcess::channelDescriptor)),
                    {[&models] { return loadLineRecognizer(models); },
                     [&models] { return loadTextMeaning(models); },
                     [&models] { return loadPictureMeaning(models); }});
    host.run();
    return 0;
}
