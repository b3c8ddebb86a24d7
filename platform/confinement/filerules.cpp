#include "confinement/filerules.h"

#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace confinement
{
namespace
{
// linux/landlock.h of Debian 12 ends with the second version, so what is used stands here.
constexpr unsigned createRulesetVersion = 1U << 0;
constexpr int rulePathBeneath = 1;

constexpr std::uint64_t execute = 1ULL << 0;
constexpr std::uint64_t readFile = 1ULL << 2;
constexpr std::uint64_t readFolder = 1ULL << 3;

// What each version of the interface can refuse: the files' rights are the lowest bits.
constexpr int fileRightsOfVersion[] = {0, 13, 14, 15, 15, 16};
constexpr int newestFileRights = 5;
constexpr int versionWithTcp = 4;
constexpr int versionWithScopes = 6;
constexpr std::uint64_t bindAndConnectTcp = 3;
constexpr std::uint64_t abstractSocketsAndSignals = 3; // of processes that are not as confined

struct RulesetAttributes {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t scopes;
};
struct __attribute__((packed)) PathBeneath {
    std::uint64_t rights;
    std::int32_t parent;
};

long version()
{
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, createRulesetVersion);
}
} // namespace

FileRules::FileRules()
{
    const long kernel = version();
    if (kernel < 1) {
        return;
    }
    RulesetAttributes attributes = {};
    const int row = kernel < newestFileRights ? int(kernel) : newestFileRights;
    attributes.files = (1ULL << fileRightsOfVersion[row]) - 1;
    attributes.network = kernel >= versionWithTcp ? bindAndConnectTcp : 0;
    attributes.scopes = kernel >= versionWithScopes ? abstractSocketsAndSignals : 0;
    // A kernel that does not know the later fields takes them as long as they are zero.
    m_rules = int(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof(attributes), 0U));
}

FileRules::~FileRules()
{
    if (isHeld()) {
        ::close(m_rules);
    }
}

void FileRules::allowReading(const std::string &path)
{
    allow(path, readFile | readFolder);
}

void FileRules::allowExecuting(const std::string &path)
{
    allow(path, readFile | execute);
}

void FileRules::allow(const std::string &path, unsigned long long rights)
{
    const int file = isHeld() ? ::open(path.c_str(), O_PATH | O_CLOEXEC) : -1;
    struct stat facts = {};
    if (file >= 0 && ::fstat(file, &facts) == 0) {
        const std::uint64_t ofFolders = S_ISDIR(facts.st_mode) ? 0 : readFolder;
        const PathBeneath rule{rights & ~ofFolders, file};
        ::syscall(SYS_landlock_add_rule, m_rules, rulePathBeneath, &rule, 0U);
    }
    if (file >= 0) {
        ::close(file);
    }
}

bool FileRules::apply()
{
    return isHeld() && ::syscall(SYS_landlock_restrict_self, m_rules, 0U) == 0;
}
} // namespace confinement
