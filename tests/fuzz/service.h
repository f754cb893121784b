// A running service for one input: its database, its requests, and what must
// hold after each of them. What the service keeps for the life of a process is
// freed behind its back, so that each input meets the same service.
#pragma once

#include "rows.h"

#include "swmgr/swmgr_client.h"

#include <set>

namespace fuzz {

class Service {
public:
    // Two switches, nine ports and a few VLANs, loaded and applied.
    Service();

    // Clears faults, checks that a VLAN can be added and deleted, stops.
    ~Service();

    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    // Sends a request of `type`, both buffers exactly as long as they say. An
    // empty reply stands for none. Checks status and invariants.
    int request(int type, const std::string &data, const std::string &reply = "");

    // A change of the database by another process; it says so with an event.
    void rowWrite(const Table &table, int64_t rowId, const std::vector<Cell> &row);
    void rowDelete(const Table &table, int64_t rowId);
    int eventSend(const Table &table, int32_t opCode, int64_t rowId, const std::string &oldValues);

    // Loads the configuration again; what was there before is forgotten. Once only:
    // it takes as long as the rest of an input.
    void reload();

    // What must hold whenever nothing is going on.
    void invariantsCheck() const;

private:
    void additionCheck();

    bool databaseChanged = false;
    bool reloaded = false;
    std::set<void *> abandoned; // blocks that a reload left behind
};

template <class Record>
std::string bytesOf(const Record &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof(record));
}

} // namespace fuzz
