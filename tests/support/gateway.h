// The gateway that most tests work on: its configuration database, in memory,
// and the requests that other processes send. Engine PSE (level 2, ports 1 to 4)
// above chip BCM (level 1, ports 0 to 4), engine port n mapped onto chip port n.
#pragma once

#include "support/platform.h"

#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

struct Switch;

// Compares with a raw string that begins with a line break, for readability.
#define EXPECT_LINES(actual, expected) EXPECT_EQ(std::string((expected) + 1), (actual))

// Whether a text occurs in another.
#define EXPECT_HAS(text, part) EXPECT_PRED_FORMAT2(testing::IsSubstring, std::string(part), text)
#define EXPECT_LACKS(text, part)                                                                   \
    EXPECT_PRED_FORMAT2(testing::IsNotSubstring, std::string(part), text)

// A value as it lies in a request.
template <class Record>
std::string bytesOf(const Record &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof(record));
}

// Old values: names, then values, each with its terminator.
std::string oldValues(const std::vector<std::string> &names,
                      const std::vector<std::string> &values);

class Gateway {
public:
    static constexpr const char *path = "file:gateway?mode=memory&cache=shared";

    Gateway();  // the three tables, empty
    ~Gateway(); // stops the service
    Gateway(const Gateway &) = delete;
    Gateway &operator=(const Gateway &) = delete;

    void sql(const std::string &text);
    void addSwitches();
    void addPorts();

    // Starts the service and forgets what was recorded; fails the test unless 0.
    void start();

    // Both switches and all ports, started.
    void startFull();

private:
    sqlite3 *db = nullptr;
};

// A request to the registered handler. An empty reply text stands for none.
int request(int type, std::string data, std::string reply = {});

int dbEvent(const std::string &table, int opCode, int64_t rowId, const std::string &old = {});
int switchRequest(const std::string &switchName, int command, const std::string &payload);
int vlanRequest(int type, int id, const std::string &interfaceName, uint32_t fwdMap,
                uint32_t untagMap, int inSwitchOnly = 0);
int interfaceEvent(uint32_t code, uint32_t total, uint32_t percentage);

// What must hold after every operation: each listed switch hands commands on,
// each VLAN is in the list of its owner alone, and what the library holds is
// reachable. Returns what does not hold, or the empty text.
std::string brokenInvariant();
