// The requests that other processes send, built and passed to the service's registered
// handler.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A value as it appears in a request.
template <class Record>
std::string bytesOf(const Record &record)
{
    return std::string(reinterpret_cast<const char *>(&record), sizeof(record));
}

// Old values: names, then values, each with its terminator.
std::string oldValues(const std::vector<std::string> &names,
                      const std::vector<std::string> &values);

// A request to the registered handler. An empty reply text means none.
int request(int type, std::string data, std::string reply = {});

int dbEvent(const std::string &table, int opCode, int64_t rowId, const std::string &old = {});
int switchRequest(const std::string &switchName, int command, const std::string &payload);
int vlanRequest(int type, int id, const std::string &interfaceName, uint32_t fwdMap,
                uint32_t untagMap, int inSwitchOnly = 0);
int interfaceEvent(uint32_t code, uint32_t total, uint32_t percentage);
