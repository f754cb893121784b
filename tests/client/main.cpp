// The tests; and the process that watches over a change on trial, which is the program
// that began it, started again.
#include "client/change/recover.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

// swctl --database FILE [--site FILE] confirm --watch SECONDS
std::optional<int> watch(const std::vector<std::string> &words)
{
    const bool sited = words.size() == 7 && words[2] == "--site";
    const size_t at = sited ? 4 : 2;
    if (words.size() != at + 3 || words[0] != "--database" || words[at] != "confirm" ||
        words[at + 1] != "--watch")
        return std::nullopt;
    return swctl::watchTrial(words[1], sited ? words[3] : "", std::stoi(words[at + 2]));
}

} // namespace

int main(int argc, char **argv)
{
    if (const std::optional<int> status = watch({argv + 1, argv + argc}))
        return *status;
    // One that is started with other words must not begin the tests anew, and so on.
    if (getenv("CLIENT_TEST_RUNS") != nullptr)
        return 1;
    setenv("CLIENT_TEST_RUNS", "1", 1);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
