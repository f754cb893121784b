// The tests; and the process that watches over a change on trial, which is the program
// that began it, started again.
#include "client/change/recover.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// swctl --database FILE confirm --watch SECONDS
int watch(char **words)
{
    return swctl::watchTrial(words[2], "", atoi(words[5]));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 6 && strcmp(argv[4], "--watch") == 0)
        return watch(argv);
    // One that is started with other words must not begin the tests anew, and so on.
    if (getenv("CLIENT_TEST_RUNS") != nullptr)
        return 1;
    setenv("CLIENT_TEST_RUNS", "1", 1);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
