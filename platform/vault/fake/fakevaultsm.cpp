// Stands in for the tool and misbehaves on command. The file that VAULTSM_FAKE names holds a line
// an option, "OPTION BEHAVIOUR": ok (also for an option without a line), fail STATUS, slow MS,
// silent (never ends), noisy (writes a lot on both outputs, then ok) or die. Each run is written
// down, with its arguments, in the file that VAULTSM_FAKE_LOG names.

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

namespace
{
std::string variable(const char *name)
{
    const char *value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): one thread
    return value ? value : "";
}

std::string behaviourOf(const std::string &option)
{
    std::ifstream script(variable("VAULTSM_FAKE"));
    for (std::string line; std::getline(script, line);) {
        if (line.compare(0, option.size() + 1, option + ' ') == 0) {
            return line.substr(option.size() + 1);
        }
    }
    return "ok";
}

void writeDown(int count, char **arguments)
{
    std::ofstream log(variable("VAULTSM_FAKE_LOG"), std::ios::app);
    for (int at = 0; at < count; ++at) {
        log << (at == 0 ? "" : " ") << arguments[at];
    }
    log << '\n';
}

void makeNoise()
{
    for (int line = 0; line < 20000; ++line) {
        std::cout << "noise on the one output\n";
        std::cerr << "noise on the other output\n";
    }
}
} // namespace

int main(int argc, char **argv)
{
    writeDown(argc, argv);
    std::istringstream behaviour(behaviourOf(argc > 1 ? argv[1] : ""));
    std::string what;
    int number = 0;
    behaviour >> what >> number;
    if (what == "die") {
        std::raise(SIGKILL);
    } else if (what == "silent") {
        pause();
    } else if (what == "slow") {
        std::this_thread::sleep_for(std::chrono::milliseconds(number));
    } else if (what == "noisy") {
        makeNoise();
    }
    return what == "fail" ? number : 0;
}
