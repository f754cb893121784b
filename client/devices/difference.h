// What a fresh start from the database would give, held against what chip,
// engine and kernel hold.
#pragma once

#include "client/devices/bridge.h"
#include "client/devices/pause_registers.h"
#include "client/rehearse/hardware_state.h"
#include "client/rehearse/rehearsal.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

enum class DifferenceKind {
    chipEntry,    // members or untagged ports of a VLAN in the chip
    defaultTag,   // VLAN of a port's untagged frames
    subInterface, // of the kernel: missing, left over, down, other maps
    engineEntry,  // a tool of the engine failed to write it
    bridgeEntry,  // interfaces of a VLAN in a bridge
    bridgeLink,   // the bridge or a port: not there, not in the bridge, down, no filtering
    setting,      // a setting that the service takes only at its start
};

// What mends a difference.
enum class Remedy {
    repair,  // announcing the VLAN again
    restart, // of the service
    rows     // a start stops at one of them: until that is mended nothing else can be
};

struct Difference {
    DifferenceKind kind{};
    int vlanId = 0;       // 0: none
    int port = -1;        // of the chip; -1: none
    std::string wanted;   // in the words of the network, as "1T 2T 3U"
    std::string found;    //
    bool counts = true;   // false: has no effect on any frame
    bool inRows = true;   // a row of the database has this VLAN
    std::string parent{}; // of a sub-interface; of a bridge's link its own name
    Remedy remedy = Remedy::repair;

    // The same thing is different in the same way.
    [[nodiscard]] bool sameAs(const Difference &other) const;
    [[nodiscard]] std::string key() const;  // as "chip-entry"
    [[nodiscard]] std::string text() const; // one line
    [[nodiscard]] std::string mend() const; // the command that mends it
};

// What a fresh start would give.
struct Target {
    Chip chip;
    Kernel kernel;
    Bridge bridge;
    bool chipRun = false;   // there is a chip at all
    bool pausesSet = false; // an engine's pause frames were set
    PauseRegisters pauses{};
    std::set<int> vlanIds;                                // in the rows
    std::array<bool, chipPortCount> takesUntagged{};      // an untagged frame has an effect
    std::vector<std::pair<int, std::string>> failedTools; // VLAN, line
    int loadStatus = 0;
    std::optional<StoppedAt> stopped;
};
Target targetOf(const Rehearsal &rehearsal, std::set<int> vlanIds);

// What is known of the engine: its tools have no query, so all there is are the
// lines of the log about their last runs.
struct EngineFacts {
    std::map<int, std::vector<std::string>> failed; // VLAN, lines that failed last
    std::vector<std::string> others;                // lines that belong to no entry of a VLAN
};

struct Actual {
    Part<Chip> chip;
    std::set<int> chipIds;                       // VLANs whose entry was read, in chip and bridge
    Part<Kernel> kernel;                         // without the sub-interfaces of others
    std::map<std::string, SubInterface> foreign; // these, by name
    Part<Bridge> bridge;                         // held, and empty, where no switch is one
    Part<EngineFacts> engine;
};

// Registers whose pause frames, bit 31, are otherwise. They count as no difference: a
// request may have switched them since, and no VLAN depends on them.
std::vector<Difference> pauseDifferences(const PauseRegisters &wanted, const PauseRegisters &found);

// Everything that differs, by VLAN and port. What was not read does not differ:
// that it is unknown is the caller's to say.
std::vector<Difference> differences(const Target &target, const Actual &actual);

// "up", and what of its priority maps is not as it should be.
std::string stateText(const SubInterface &sub);

// An empty entry for a VLAN that the chip does not have.
ChipVlan entryOf(const Chip &chip, int vlanId);

// "1T 2T 3U" for an entry of the chip, "-" for an empty one.
std::string membersText(const ChipVlan &vlan);
std::string membersText(uint32_t members, uint32_t untagged); // bit n for port n

} // namespace swctl
