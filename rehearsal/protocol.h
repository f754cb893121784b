// The protocol between swctl and swrehearse: a script to play, the final state of the
// devices, and a stream of what happened. All three are memory files whose descriptors
// the rehearsal inherits.
#pragma once

#include "devices/chip/chip_model.h"
#include "devices/engine/state.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <type_traits>

namespace rehearsal {

// Descriptors in the rehearsal's process.
constexpr int scriptFd = 3; // a sequence of Pieces to play
constexpr int stateFd = 4;  // a State
constexpr int eventsFd = 5; // a sequence of Pieces, as things happen

// What a piece is about. The first group appears in a script, the second in the stream
// of events.
enum class Kind : uint32_t {
    interface, // data: hardware address, 6 bytes, then the name; must precede the start
    device,    // data: path of an existing device node; without any, all exist
    image,     // data: serialised database, to be used from here on
    start,     // start the service
    request,   // number: request type; data, then `extra` bytes of reply buffer

    command, // text: command line that was run; number: status
    shell,   // text: pipeline passed to the shell; number: status
    driver,  // number: result; extra: request number; data: int64 argument, then the record
    opened,  // text: device node; number: descriptor or negative
    written, // text: file
    removed, // text: file
    log,     // number: level; text: the message unchanged
    row,     // number: status; extra: row of the table, from 0; text: table
    loaded,  // number: status of loading and applying the configuration
    answer,  // number: status of a request, or of the start
};

// Followed by `length` bytes. The meaning of `number` and `extra` depends on the kind.
struct Piece {
    Kind kind;
    int32_t number;
    uint32_t extra;
    uint32_t length;
};
static_assert(sizeof(Piece) == 16 && std::is_trivially_copyable_v<Piece>);

constexpr uint32_t stateMagic = 0x52484153; // "SAHR" in memory

// The state of chip, engine and kernel. Zero except where written.
struct State {
    uint32_t magic; // written last
    uint32_t reserved;
    chip::Model chip;
    std::bitset<engine::vlanIdCount> uptimeFiles; // VLAN ids with an uptime record
    engine::State engine;                         // including the kernel's sub-interfaces
};

} // namespace rehearsal
