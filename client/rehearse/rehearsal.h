// Rehearsing: the service's own library, run by swrehearse on a platform that
// only records, shows what a start from a database and any requests after it
// would do and leave behind.
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

// Interfaces that exist, with their hardware addresses.
using Interfaces = std::map<std::string, HardwareAddress>;

// What is to be rehearsed, step by step.
class Script {
public:
    // `devices` are the nodes that are there; none stands for all.
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

// One thing that happened. The text lives as long as the rehearsal.
struct Event {
    rehearsal::Kind kind;
    int32_t number;        // see rehearsal::Kind
    uint32_t extra;        // see rehearsal::Kind
    std::string_view data; // see rehearsal::Kind
};

// The row at which a start stops.
struct StoppedAt {
    std::string table;
    int row = 0;                      // in the table's own order, from 0
    int status = 0;                   // of its handler
    std::vector<std::string> reasons; // error lines of the log about it
};

// A memory file and its view.
class MemoryFile {
public:
    explicit MemoryFile(const char *name);
    ~MemoryFile();
    MemoryFile(MemoryFile &&other) noexcept;
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;
    MemoryFile &operator=(MemoryFile &&) = delete;

    void write(std::string_view bytes) const;
    [[nodiscard]] std::string_view view(); // of what it holds by now
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

    // The answers in the order of the script: of each start and request.
    [[nodiscard]] std::vector<int> answers() const;

    // What loading and applying the configuration came to, and where it stopped;
    // none for a start that took every row, or that stopped at no row.
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

// A rehearsal on its way, beside which something else can be done.
class RunningRehearsal {
public:
    explicit RunningRehearsal(const Script &script);
    ~RunningRehearsal(); // an abandoned rehearsal is ended
    RunningRehearsal(const RunningRehearsal &) = delete;
    RunningRehearsal &operator=(const RunningRehearsal &) = delete;

    [[nodiscard]] Rehearsal finish(); // once

private:
    MemoryFile script, state, events;
    int pid = -1;
};

Rehearsal rehearse(const Script &script);

// The sub-interfaces in a state of the engine's model, which plays the kernel too.
Kernel kernelOf(const engine::State &state);

// The name of a driver request, as "VLAN_ENTRY_SET", with its decoded fields.
std::string driverText(const Event &event);

} // namespace swctl
