// The gateway of most tests, with its configuration database in memory: engine PSE (level
// 2, ports 1 to 4) above chip BCM (level 1, ports 0 to 4), engine port n mapped onto chip
// port n.
#pragma once

#include "support/invariants.h"
#include "support/platform.h"
#include "support/requests.h"

#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

// Compares with a raw string that begins with a line break for readability.
#define EXPECT_LINES(actual, expected) EXPECT_EQ(std::string((expected) + 1), (actual))

class Fixture {
public:
    static constexpr const char *path = "file:gateway?mode=memory&cache=shared";

    Fixture();  // the three tables, empty
    ~Fixture(); // stops the service
    Fixture(const Fixture &) = delete;
    Fixture &operator=(const Fixture &) = delete;

    void sql(const std::string &text);
    void addSwitches();
    void addPorts();

    // Starts the service and forgets what was recorded; fails the test unless 0.
    void start();

private:
    sqlite3 *db = nullptr;
};
