// Declared lengths of the command payloads, and what holds of their bytes.
#pragma once

#include "switch/model.h"
#include "swmgr/swmgr_client.h"

#include <bit>

static_assert(std::endian::native == std::endian::little, "records travel little-endian");

// The model's own objects travel by address with these lengths. They are the
// sizes on the device, where pointers have 4 bytes; elsewhere the objects are
// larger and the declared lengths stay.
constexpr uint32_t switchVlanRecordLength = 1312;
constexpr uint32_t switchPortRecordLength = 140;
static_assert(sizeof(void *) != 4 || sizeof(SwitchPort) == switchPortRecordLength);

// What a relay request declares, whatever its command.
constexpr uint32_t commandAreaLength = SWMGR_CMD_PAYLOAD_SIZE;

// Statuses of the library's own making.
constexpr int statusFailed = -1;
constexpr int statusNoMemory = -12;
constexpr int statusInvalid = -22;
constexpr int statusUnsupported = -95;
