// Which files a process and its children may open, kept by the kernel (Landlock). What is not named
// can be neither read, written, made, removed nor executed; what is open already stays so.
// Owner: confine(). Thread: the one that applies them, with those that it starts later.

#pragma once

#include <string>

namespace confinement
{
class FileRules
{
public:
    // Nothing is allowed at first. `isHeld()` tells whether the kernel takes part.
    FileRules();
    ~FileRules();
    FileRules(const FileRules &) = delete;
    FileRules &operator=(const FileRules &) = delete;

    bool isHeld() const { return m_rules >= 0; }

    // A file, or a folder with all below it; one that is missing is passed over. A symbolic link
    // counts as what it leads to.
    void allowReading(const std::string &path);
    // Reading and starting of one program.
    void allowExecuting(const std::string &path);

    // From now on, for good. False where the kernel refuses. The process must have given up new
    // privileges before.
    bool apply();

private:
    void allow(const std::string &path, unsigned long long rights);

    int m_rules = -1;
};
} // namespace confinement
