// Runs one test per process: the library keeps state for the life of a process,
// so each test gets a fresh one. Without a filter the program runs itself.
#include "support/platform.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

int runAlone(const char *program, const std::string &test)
{
    const pid_t child = fork();
    if (child == 0) {
        const std::string filter = "--gtest_filter=" + test;
        execl(program, program, filter.c_str(), "--gtest_brief=1", nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}

int runEach(const char *program)
{
    const auto &all = *testing::UnitTest::GetInstance();
    int failed = 0;
    for (int s = 0; s < all.total_test_suite_count(); ++s) {
        const testing::TestSuite &suite = *all.GetTestSuite(s);
        for (int t = 0; t < suite.total_test_count(); ++t) {
            const std::string name = std::string(suite.name()) + "." + suite.GetTestInfo(t)->name();
            failed += runAlone(program, name) == 0 ? 0 : 1;
        }
    }
    printf("%d tests, %d failed\n", all.total_test_count(), failed);
    return failed == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const bool everyTest = argc == 1;
    sqlite3_config(SQLITE_CONFIG_URI, 1);
    testing::InitGoogleTest(&argc, argv);
    return everyTest ? runEach("/proc/self/exe") : RUN_ALL_TESTS();
}
