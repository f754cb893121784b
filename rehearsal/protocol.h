// What swctl and swrehearse say to each other: a script to play, the state that
// the devices hold in the end, and a stream of what happened. All three travel
// in memory files whose descriptors the rehearsal inherits.
#pragma once

#include "devices/chip/chip_model.h"
#include "devices/engine/state.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <type_traits>

namespace rehearsal {

// Descriptors in the process of the rehearsal.
constexpr int scriptFd = 3; // Piece after Piece, to be played
constexpr int stateFd = 4;  // a State
constexpr int eventsFd = 5; // Piece after Piece, as things happen

// What a piece is about. The first ones stand in a script, the others in the
// stream of events.
enum class Kind : uint32_t {
    interface, // data: hardware address, 6 bytes, then the name; must stand before the start
    device,    // data: path of a device node that is there; without any, all are
    image,     // data: serialised database, the one that is read from here on
    start,     // start the service
    request,   // number: request type; data, then `extra` bytes of reply buffer

    command, // text: command line that was run; number: status
    shell,   // text: pipeline handed to the shell; number: status
    driver,  // number: result; extra: request number; data: int64 argument, then the record
    opened,  // text: device node; number: descriptor or negative
    written, // text: file
    removed, // text: file
    log,     // number: level; text as it came
    row,     // number: status; extra: row of the table, from 0; text: table
    loaded,  // number: status of loading and applying the configuration
    answer,  // number: status of a request, or of the start
};

// Followed by `length` bytes. What stands in `number` and `extra` depends on the kind.
struct Piece {
    Kind kind;
    int32_t number;
    uint32_t extra;
    uint32_t length;
};
static_assert(sizeof(Piece) == 16 && std::is_trivially_copyable_v<Piece>);

constexpr uint32_t stateMagic = 0x52484153; // "SAHR" in memory

// What chip, engine and kernel hold. Zeros but for what is written.
struct State {
    uint32_t magic; // written last
    uint32_t reserved;
    chip::Model chip;
    std::bitset<engine::vlanIdCount> uptimeFiles; // VLAN ids with an uptime record
    engine::State engine;                         // sub-interfaces of the kernel included
};

} // namespace rehearsal
