// What a command to a switch carries besides its code: the declared lengths of
// the payloads, and what holds of their bytes.
#pragma once

#include "model/command.h"
#include "swmgr/swmgr_client.h"

#include <bit>

static_assert(std::endian::native == std::endian::little, "records travel little-endian");

// The model's own objects travel by address with these lengths. They are the
// sizes on the device, where pointers have 4 bytes; elsewhere the objects are
// larger and the declared lengths stay.
constexpr uint32_t switchVlanRecordLength = 1312; // a SwitchVlan
constexpr uint32_t switchPortRecordLength = 140;  // a SwitchPort

// What a relay request declares, whatever its command.
constexpr uint32_t commandAreaLength = SWMGR_CMD_PAYLOAD_SIZE;

// A payload of one of the first two lengths is taken for a model object by the
// backends: no record that a request can declare may have them.
constexpr bool isModelObjectLength(size_t length)
{
    return length == switchVlanRecordLength || length == switchPortRecordLength;
}
static_assert(!isModelObjectLength(commandAreaLength));
static_assert(!isModelObjectLength(sizeof(SwCmdQueueSched)) &&
              !isModelObjectLength(sizeof(SwCmdRateLimit)) &&
              !isModelObjectLength(sizeof(SwCmdTrustMode)) &&
              !isModelObjectLength(sizeof(int32_t)) && !isModelObjectLength(sizeof(uint8_t)));
