// The client's commands as whole processes, on a running simulated gateway, alternating
// with a sqlite3 shell that writes the same row.
//
//   client_bench SWCTL DATABASE ROUNDS
#include "bench/process.h"

#include <cstdio>

namespace {

using bench::Words;

// One thing to time. Every other round undoes the change of the one before.
struct Entry {
    const char *name;
    Words even, odd; // words of the command in even and odd rounds
    std::vector<double> times;
};

bool run(const Words &words)
{
    int status = 0;
    return waitpid(bench::start(words, {}), &status, 0) > 0 && status == 0;
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 4) {
        fprintf(stderr, "usage: client_bench SWCTL DATABASE ROUNDS\n");
        return 2;
    }
    const std::string swctl = arguments[1];
    const std::string database = arguments[2];
    const int rounds = atoi(arguments[3]); // NOLINT(cert-err34-c): a developer's argument
    const auto client = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {swctl, "--database", database});
        return words;
    };
    const auto ports = [&](const char *list, const char *option) {
        return client({"vlan", "set", "2", "--ports", list, option});
    };
    const std::string update = "UPDATE vlanEncapIf SET LogicalIfName = 'a' WHERE vlanId = 3; ";
    Entry entries[] = {
        {"sqlite3 updates a row", {"sqlite3", database, update}, {"sqlite3", database, update}, {}},
        {"swctl, not verified", ports("1,2", "--no-verify"), ports("1,2,3", "--no-verify"), {}},
        {"swctl, verified", ports("1,3", "--json"), ports("1,2,3", "--json"), {}},
        {"swctl rehearse", client({"rehearse"}), client({"rehearse"}), {}},
        {"swctl diff", client({"diff"}), client({"diff"}), {}},
        {"swctl status", client({"status"}), client({"status"}), {}},
    };
    for (int round = 0; round < rounds; ++round)
        for (Entry &entry : entries) {
            bool done = false;
            entry.times.push_back(
                bench::milliseconds([&] { done = run(round % 2 == 0 ? entry.even : entry.odd); }));
            if (!done) {
                fprintf(stderr, "client_bench: '%s' failed\n", entry.name);
                return 1;
            }
        }
    const double beside = bench::median(entries[0].times);
    for (const Entry &entry : entries)
        printf("%-22s %8.1f ms (median of %d), %6.1f times sqlite3\n", entry.name,
               bench::median(entry.times), rounds, bench::median(entry.times) / beside);
    return 0;
}
