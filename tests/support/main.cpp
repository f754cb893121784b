// Runs one test per process: the library keeps state for the life of a process,
// so each test gets a fresh one. Without a filter the program runs itself.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

bool passesAlone(const std::string &test)
{
    const pid_t child = fork();
    if (child == 0) {
        GTEST_FLAG_SET(filter, test);
        GTEST_FLAG_SET(brief, true);
        exit(RUN_ALL_TESTS());
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
}

} // namespace

int main(int argc, char **argv)
{
    const bool everyTest = argc == 1;
    sqlite3_config(SQLITE_CONFIG_URI, 1);
    testing::InitGoogleTest(&argc, argv);
    if (!everyTest)
        return RUN_ALL_TESTS();
    const auto &all = *testing::UnitTest::GetInstance();
    int failed = 0;
    for (int s = 0; s < all.total_test_suite_count(); ++s) {
        const testing::TestSuite &suite = *all.GetTestSuite(s);
        for (int t = 0; t < suite.total_test_count(); ++t)
            failed += !passesAlone(std::string(suite.name()) + "." + suite.GetTestInfo(t)->name());
    }
    printf("%d tests, %d failed\n", all.total_test_count(), failed);
    return failed == 0 ? 0 : 1;
}
