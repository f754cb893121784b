// Rehearsing: swrehearse runs the service's own library on a platform that only records. This
// shows what a startup from a database, and any requests after it, would do and leave behind.
#pragma once

#include "client/rehearse/hardware_state.h"
#include "rehearsal/protocol.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

using HardwareAddress = std::array<uint8_t, 6>;

// Existing interfaces and their hardware addresses.
using Interfaces = std::map<std::string, HardwareAddress>;

// The steps to rehearse.
class Script {
public:
    // `devices` are the existing device nodes; empty means all.
    explicit Script(const Interfaces &interfaces, const std::vector<std::string> &devices = {});

    Script &image(std::string_view database); // what the service reads from here on
    Script &start();
    Script &request(int type, std::string_view data, std::string_view buffer = {});

    [[nodiscard]] const std::string &bytes() const { return pieces; }

private:
    void add(rehearsal::Kind kind, int32_t number, uint32_t extra, std::string_view data,
             std::string_view more = {});

    std::string pieces;
};

// A recorded event. The text lives as long as the rehearsal.
struct Event {
    rehearsal::Kind kind;
    int32_t number;        // see rehearsal::Kind
    uint32_t extra;        // see rehearsal::Kind
    std::string_view data; // see rehearsal::Kind
};

// The row at which a startup stops.
struct StoppedAt {
    std::string table;
    int row = 0;                      // index in the table's row order, from 0
    int status = 0;                   // returned by the row's handler
    std::vector<std::string> reasons; // the log's error lines about it
};

// A memory file and its mapping.
class MemoryFile {
public:
    explicit MemoryFile(const char *name);
    ~MemoryFile();
    MemoryFile(MemoryFile &&other) noexcept;
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;
    MemoryFile &operator=(MemoryFile &&) = delete;

    void write(std::string_view bytes) const;
    [[nodiscard]] std::string_view view(); // of its current contents
    [[nodiscard]] int descriptor() const { return fd; }

private:
    int fd;
    void *memory = nullptr;
    size_t size = 0;
};

class Rehearsal {
public:
    Rehearsal(MemoryFile stateFile, MemoryFile eventFile);

    [[nodiscard]] const rehearsal::State &state() const { return *held; }
    [[nodiscard]] const std::vector<Event> &events() const { return all; }

    // The results of each startup and request, in script order.
    [[nodiscard]] std::vector<int> answers() const;

    // The status of loading and applying the configuration, and where it stopped; nullopt if
    // every row was accepted, or it stopped elsewhere.
    [[nodiscard]] int loadStatus() const;
    [[nodiscard]] std::optional<StoppedAt> stoppedAt() const;

    [[nodiscard]] Chip chip() const;
    [[nodiscard]] Kernel kernel() const;

private:
    MemoryFile stateMemory;
    MemoryFile eventMemory;
    const rehearsal::State *held;
    std::vector<Event> all;
};

// A rehearsal in progress; the caller can do other work meanwhile.
class RunningRehearsal {
public:
    explicit RunningRehearsal(const Script &script);
    ~RunningRehearsal(); // kills an unfinished rehearsal
    RunningRehearsal(const RunningRehearsal &) = delete;
    RunningRehearsal &operator=(const RunningRehearsal &) = delete;

    [[nodiscard]] Rehearsal finish(); // may be called once

private:
    MemoryFile script, state, events;
    int pid = -1;
};

Rehearsal rehearse(const Script &script);

// The sub-interfaces in a state of the engine's model, which also simulates the kernel.
Kernel kernelOf(const engine::State &state);

// The name of a driver request, e.g. "VLAN_ENTRY_SET", and its decoded fields.
std::string driverText(const Event &event);

} // namespace swctl
