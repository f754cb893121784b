// The daemon on a database file, with the simulated chip but without the time that tools
// take: how long until it is ready, its memory, its idle time. For comparison, a sqlite3
// shell reads the same three tables.
//
//   daemon_bench BUILD DATABASE CHIP_SOCKET_DIR
#include "bench/process.h"
#include "bench/ready_socket.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using bench::median;
using bench::milliseconds;
using bench::ReadySocket;
using bench::start;
using bench::stop;
using bench::Words;

constexpr int rounds = 15;

long numberAfter(const std::string &path, const std::string &word)
{
    std::ifstream file(path);
    for (std::string found; file >> found;) {
        long number = 0;
        if (found == word && file >> number)
            return number;
    }
    return -1;
}

long processorTicks(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string word;
    long ticks = 0;
    for (int field = 1; file >> word; ++field)
        if (field == 14 || field == 15)
            ticks += std::stol(word);
    return ticks;
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 4) {
        fprintf(stderr, "usage: daemon_bench BUILD DATABASE FOLDER\n");
        return 2;
    }
    const std::string build = arguments[1];
    const std::string database = arguments[2];
    const std::string folder = arguments[3];
    const std::string readyPath = folder + "/ready";
    const ReadySocket ready(readyPath);
    const Words environment = {"NOTIFY_SOCKET=" + readyPath, "RELAY_DIR=" + folder + "/relay",
                               "LD_PRELOAD=" + build + "/lib/libno_tools.so"};
    const Words daemon = {build + "/bin/swmgrd", "--database", database};
    const Words shell = {"sqlite3", database,
                         "SELECT * FROM swGlobalCfg; SELECT * FROM swPortConfig; "
                         "SELECT * FROM vlanEncapIf;"};

    std::vector<double> readyTimes;
    std::vector<double> shellTimes;
    for (int round = 0; round < rounds; ++round) {
        pid_t process = 0;
        readyTimes.push_back(milliseconds([&] {
            process = start(daemon, environment);
            ready.waitFor("READY=1");
        }));
        stop(process);
        shellTimes.push_back(milliseconds([&] { waitpid(start(shell, {}), nullptr, 0); }));
    }
    const pid_t process = start(daemon, environment);
    ready.waitFor("READY=1");
    const long memory = numberAfter("/proc/" + std::to_string(process) + "/smaps_rollup", "Pss:");
    const long before = processorTicks(process);
    std::this_thread::sleep_for(std::chrono::seconds(5));
    const long idle = processorTicks(process) - before;
    stop(process);

    printf("ready after            %8.1f ms (median of %d; sqlite3 reading the tables %.1f ms, "
           "ratio %.2f)\n",
           median(readyTimes), rounds, median(shellTimes), median(readyTimes) / median(shellTimes));
    printf("proportional memory    %8ld kB\n", memory);
    printf("processor time in 5 s  %8ld ticks while idle\n", idle);
    return 0;
}
