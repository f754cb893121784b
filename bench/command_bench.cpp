// The stand-in's way of running a command line, compared with a bare spawn of the same
// program and with a shell.
#include "platform/sal.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void bareSpawn(benchmark::State &state)
{
    char program[] = "true";
    char word[] = "set";
    char *arguments[] = {program, word, nullptr};
    for (auto _ : state) {
        pid_t child = 0;
        int status = 0;
        if (posix_spawnp(&child, program, nullptr, nullptr, arguments, environ) != 0 ||
            waitpid(child, &status, 0) != child)
            abort();
    }
}

void salCommand(benchmark::State &state)
{
    for (auto _ : state)
        if (salCmdExec("true set", 0, 0) != 0)
            abort();
}

void shell(benchmark::State &state)
{
    for (auto _ : state)
        if (system("/bin/true set") != 0)
            abort();
}

// Interleaved repetitions, so that a busy machine affects all three equally.
BENCHMARK(bareSpawn)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(salCommand)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(shell)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
