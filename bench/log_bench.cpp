// What the log costs at startup: the daemon on hardware that takes no time, alternately
// with and without a log daemon; and how many records were lost.
//
//   log_bench BUILD DATABASE FOLDER
#include "bench/process.h"
#include "bench/ready_socket.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

namespace {

using bench::median;
using bench::Words;

constexpr int rounds = 15;

struct Written {
    long records = 0;
    long lost = 0;
};

// A line is "DATE TIME RANK MODULE TEXT"; the log daemon itself reports lost records.
Written read(const std::string &path)
{
    Written written;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t notice = line.find(" swlogd ");
        if (notice == std::string::npos)
            ++written.records;
        else
            written.lost += atol(line.c_str() + notice + strlen(" swlogd "));
    }
    return written;
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 4) {
        fprintf(stderr, "usage: log_bench BUILD DATABASE FOLDER\n");
        return 2;
    }
    const std::string build = arguments[1];
    const std::string folder = arguments[3];
    const std::string readyPath = folder + "/ready";
    const std::string log = folder + "/log";
    const bench::ReadySocket ready(readyPath);
    const Words directory = {"RELAY_DIR=" + folder + "/relay"};
    Words environment = directory;
    environment.push_back("NOTIFY_SOCKET=" + readyPath);
    environment.push_back("LD_PRELOAD=" + build + "/lib/libno_hardware.so");
    const Words daemon = {build + "/bin/swmgrd", "--database", arguments[2]};
    const Words listener = {build + "/bin/swlogd", "--output", log, "--max-size", "0"};

    std::vector<double> times[2];
    Written written;
    for (int round = 0; round < 2 * rounds; ++round) {
        const bool listens = round % 2 == 1;
        pid_t logd = 0;
        if (listens) {
            logd = bench::start(listener, directory);
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
        pid_t process = 0;
        times[listens].push_back(bench::milliseconds([&] {
            process = bench::start(daemon, environment);
            ready.waitFor("READY=1");
        }));
        bench::stop(process);
        if (listens) {
            std::this_thread::sleep_for(std::chrono::milliseconds(500)); // until all is written
            bench::stop(logd);
        }
    }
    written = read(log);
    printf(
        "ready after            %8.1f ms without a log daemon, %.1f ms with one (medians of %d), "
        "ratio %.2f\n",
        median(times[0]), median(times[1]), rounds, median(times[1]) / median(times[0]));
    printf("records of a start     %8ld written, %ld lost\n", written.records / rounds,
           written.lost / rounds);
    return 0;
}
