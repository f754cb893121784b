// A running service for one input: its database, its requests, and what must hold after
// each of them. What the service keeps for the life of a process is freed behind its back,
// so that each input gets the same service.
#pragma once

#include "rows.h"

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

    // Checks what must hold after a call that returned `status`, and returns it.
    int check(int status) const;

    // A change of the database by another process, which does not notify the service.
    void rowWrite(const Table &table, int64_t rowId, const std::vector<Cell> &row);
    void rowDelete(const Table &table, int64_t rowId);

    // Loads the configuration again and forgets the previous one. Only once per input,
    // since it takes as long as all the rest.
    void reload();

private:
    void additionCheck();

    bool databaseChanged = false;
    bool reloaded = false;
    std::set<const void *> abandoned; // blocks that a reload left behind
};

} // namespace fuzz
