#include "confinement/loadedfiles.h"

#include <link.h>

namespace confinement
{
namespace
{
int addLibrary(dl_phdr_info *object, std::size_t, void *data)
{
    if (object->dlpi_name && object->dlpi_name[0] == '/') {
        static_cast<std::vector<std::string> *>(data)->emplace_back(object->dlpi_name);
    }
    return 0;
}

int findLinker(dl_phdr_info *program, std::size_t, void *data)
{
    for (int index = 0; index < program->dlpi_phnum; ++index) {
        const ElfW(Phdr) &header = program->dlpi_phdr[index];
        if (header.p_type == PT_INTERP) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the sum is what the linker loaded it at
            const auto *path = reinterpret_cast<const char *>(program->dlpi_addr + header.p_vaddr);
            *static_cast<std::string *>(data) = path;
        }
    }
    return 1; // the main program comes first
}
} // namespace

std::vector<std::string> loadedLibraries()
{
    std::vector<std::string> libraries;
    ::dl_iterate_phdr(&addLibrary, &libraries);
    return libraries;
}

std::string dynamicLinker()
{
    std::string linker;
    ::dl_iterate_phdr(&findLinker, &linker);
    return linker;
}
} // namespace confinement
