#include "confinement/confinement.h"

#include "confinement/callfilter.h"
#include "confinement/filerules.h"
#include "confinement/loadedfiles.h"
#include "confinement/withheldmemory.h"

#include <QByteArrayList>
#include <QtGlobal>

#include <sys/prctl.h>

namespace confinement
{
namespace
{
// What libraries read: others that they load, names of languages, facts about the processor and the
// memory. Nothing of these belongs to a user.
constexpr const char *system[] = {
    "/lib",
    "/lib32",
    "/lib64",
    "/usr/lib",
    "/usr/lib32",
    "/usr/lib64",
    "/usr/local/lib",
    "/usr/share/locale",
    "/etc/ld.so.cache",
    "/etc/ld.so.preload",
    "/etc/locale.alias",
    "/sys/devices/system",
    "/sys/kernel/mm/transparent_hugepage",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/proc/stat",
    "/proc/sys/vm/overcommit_memory",
    "/dev/null",
    "/dev/urandom",
#ifdef YESTERMARK_SANITIZED
    "/proc", // they look for the process's threads and memory
#endif
};

#ifdef YESTERMARK_SANITIZED
// The files of known findings, which a process that is started reads first of all.
void allowSuppressions(FileRules &rules)
{
    for (const char *name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        for (const QByteArray &option : qgetenv(name).split(':')) {
            if (option.startsWith("suppressions=")) {
                rules.allowReading(option.mid(option.indexOf('=') + 1).toStdString());
            }
        }
    }
}
#endif

bool limitFiles(const Rights &rights)
{
    FileRules rules;
#ifdef YESTERMARK_SANITIZED
    allowSuppressions(rules);
#endif
    for (const char *path : system) {
        rules.allowReading(path);
    }
    for (const std::string &path : loadedLibraries()) {
        rules.allowReading(path);
    }
    for (const std::string &path : rights.readable) {
        rules.allowReading(path);
    }
    if (!rights.programs.empty()) {
        rules.allowExecuting(dynamicLinker());
    }
    for (const std::string &path : rights.programs) {
        rules.allowExecuting(path);
    }
    return rules.apply();
}
} // namespace

void confine(const Rights &rights)
{
    withholdMemory(Memory::Closed);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (!limitFiles(rights)) {
        qWarning("Confinement: no Landlock here; every file can be read");
    }
    if (!filterCalls(rights.programs.empty() ? Children::None : Children::Programs)) {
        qWarning("Confinement: no seccomp here; every system call can be made");
    }
}
} // namespace confinement
