// How an ioctl request travels to a simulated device. salOpen connects to the
// device's SOCK_SEQPACKET socket; each request is one packet, each answer too.
// Direction and record size come from the request number itself, encoded as
// Linux encodes ioctl numbers (direction in bits 30-31, size in bits 16-29).
#pragma once

#include <cstdint>
#include <type_traits>

namespace device {

constexpr uint32_t maxRecordSize = (1u << 14) - 1; // what the number can express

constexpr uint32_t recordSize(uint32_t request)
{
    return (request >> 16) & maxRecordSize;
}

// Followed by recordSize(request) bytes of record. A request without a record
// carries its integer argument in `argument`, others leave it 0.
struct RequestHeader {
    uint32_t request;
    uint32_t reserved;
    int64_t argument;
};
static_assert(sizeof(RequestHeader) == 16 && std::is_trivially_copyable_v<RequestHeader>);

// Followed by the record as the driver left it, as long as in the request.
struct AnswerHeader {
    int32_t result; // what the driver returned: negative errno, or 0 and more
    uint32_t reserved;
};
static_assert(sizeof(AnswerHeader) == 8 && std::is_trivially_copyable_v<AnswerHeader>);

// A request number that no driver has: asks a simulated device for its state.
// Argument stateTable or stateJson takes a snapshot and is answered with its
// first part, stateNext with the next one. `result` is the number of text bytes
// that follow, 0 when the text is at its end, negative errno for an argument
// that means nothing. Anyone who may open the device may ask.
constexpr uint32_t stateRequest = 0;
constexpr int64_t stateTable = 0; // for people
constexpr int64_t stateJson = 1;  // for programs
constexpr int64_t stateNext = 2;
constexpr uint32_t maxStatePart = 32 * 1024; // bytes of text in one answer

} // namespace device
