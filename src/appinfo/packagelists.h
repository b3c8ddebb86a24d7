#pragma once
// The file lists that the package manager keeps, one a package, a path a line. Owner:
// AppInfoHelper, by value. Thread: any; it keeps nothing but the directory's name.

#include <string>
#include <vector>

class PackageLists
{
public:
    explicit PackageLists(std::string directory);

    /// The first package, in the directory's own order, whose list has @p target as a line, or has
    /// it within a line if it holds ".exe". Empty if there is none. Library packages, whose names
    /// begin with "lib", are left out. An architecture suffix (":amd64") belongs to the name.
    /// Reads every list until one fits: some milliseconds for a thousand packages.
    std::string findPackage(const std::string &target) const;

    /// Every path of @p package that ends in ".desktop", in the order of its list. Empty if it has
    /// no list or @p package is empty.
    std::vector<std::string> desktopFiles(const std::string &package) const;

private:
    std::string m_directory;
};
