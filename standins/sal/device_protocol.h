// How an ioctl request is sent to a simulated device. salOpen connects to the device's
// SOCK_SEQPACKET socket; each request and each answer is one packet. Direction and record
// size come from the request number itself, encoded like Linux ioctl numbers (direction in
// bits 30-31, size in bits 16-29).
#pragma once

#include <cstdint>
#include <type_traits>

namespace device {

constexpr uint32_t maxRecordSize = (1u << 14) - 1; // as far as the number can express

constexpr uint32_t recordSize(uint32_t request)
{
    return (request >> 16) & maxRecordSize;
}

// Followed by the record's recordSize(request) bytes. A request without a record carries
// its integer argument in `argument`, others leave it 0.
struct RequestHeader {
    uint32_t request;
    uint32_t reserved;
    int64_t argument;
};
static_assert(sizeof(RequestHeader) == 16 && std::is_trivially_copyable_v<RequestHeader>);

// Followed by the record as the driver left it, as long as in the request.
struct AnswerHeader {
    int32_t result; // what the driver returned: negative errno, or 0 or more
    uint32_t reserved;
};
static_assert(sizeof(AnswerHeader) == 8 && std::is_trivially_copyable_v<AnswerHeader>);

// A request number that no driver has: asks a simulated device for its state. The
// arguments stateTable and stateJson take a snapshot and return its first part, stateNext
// returns the next one. `result` is the number of text bytes that follow, 0 at the end of
// the text, negative errno for an unknown argument. Anyone who may open the device may
// ask.
constexpr uint32_t stateRequest = 0;
constexpr int64_t stateTable = 0; // for people
constexpr int64_t stateJson = 1;  // for programs
constexpr int64_t stateNext = 2;
constexpr uint32_t maxStatePart = 32 * 1024; // bytes of text in one answer

} // namespace device
