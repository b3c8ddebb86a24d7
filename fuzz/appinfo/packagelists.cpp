// A damaged or hostile package list. An input is the file that is looked for, a line feed, and the
// list.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "appinfo/packagelists.h"
#include "appinfo/splitstring.h"

#include <QDir>

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    QDir().mkpath(Scratch::path(QStringLiteral("lists")));
    InputBytes input(data, size);
    const std::string target(input.line());
    const std::string content(input.rest());
    Scratch::write(QStringLiteral("lists/fuzzed.list"), content);

    const PackageLists lists(Scratch::path(QStringLiteral("lists")).toStdString());
    const std::string package = lists.findPackage(target);
    const std::vector<std::string> lines = splitString(content, '\n');
    const bool within = target.find(".exe") != std::string::npos;
    const bool isThere = std::any_of(lines.begin(), lines.end(), [&](const std::string &line) {
        return line == target || (within && line.find(target) != std::string::npos);
    });
    // An empty line is a line to the list and none to splitString().
    Scratch::require(target.empty() || package.empty() != isThere, "found where it stands");

    const std::vector<std::string> entries = lists.desktopFiles("fuzzed");
    const auto count = std::count_if(lines.begin(), lines.end(), [](const std::string &line) {
        return line.size() >= 8 && line.compare(line.size() - 8, 8, ".desktop") == 0;
    });
    Scratch::require(static_cast<long>(entries.size()) == count, "every entry and nothing else");
    return 0;
}
