// The lengths that are declared for command payloads.
#pragma once

#include "model/command.h"
#include "swmgr/swmgr_client.h"

#include <bit>

static_assert(std::endian::native == std::endian::little, "records travel little-endian");

// The model's own objects are passed by address with these lengths, which are their sizes on
// the device, where pointers have 4 bytes. Elsewhere the objects are larger, but the declared
// lengths are the same.
constexpr uint32_t switchVlanRecordLength = 1312; // a SwitchVlan
constexpr uint32_t switchPortRecordLength = 140;  // a SwitchPort

// Declared by every relay request, whatever its command.
constexpr uint32_t commandAreaLength = SWMGR_CMD_PAYLOAD_SIZE;

// Backends take a payload with one of the two model object lengths for such an object, so no
// request may declare them for a record.
constexpr bool isModelObjectLength(size_t length)
{
    return length == switchVlanRecordLength || length == switchPortRecordLength;
}
static_assert(!isModelObjectLength(commandAreaLength));
static_assert(!isModelObjectLength(sizeof(SwCmdQueueSched)) &&
              !isModelObjectLength(sizeof(SwCmdRateLimit)) &&
              !isModelObjectLength(sizeof(SwCmdTrustMode)) &&
              !isModelObjectLength(sizeof(int32_t)) && !isModelObjectLength(sizeof(uint8_t)));
