// Packets of the messaging stand-in: decoded, and encoded again.
#include "input.h"

#include "standins/relay/frame.h"

#include <cerrno>

namespace {

using namespace fuzz;

// A header that is mostly valid, and what follows it.
std::string packetRead(Input &input)
{
    if (input.below(4) == 0)
        return input.rest();
    relay::FrameHeader header{};
    header.magic = relay::frameMagic;
    header.kind = static_cast<uint32_t>(input.below(5));
    header.type = input.number<int32_t>();
    header.dataLength = input.number<uint16_t>();
    header.bufferLength = input.number<uint16_t>();
    const size_t size = relay::frameSize(header.dataLength, header.bufferLength);
    const size_t body = size != 0 ? size - sizeof(header) : 0;
    const size_t kind = input.below(4);
    if (kind == 1)
        header.dataLength = input.number<uint32_t>();
    if (kind == 2)
        header.bufferLength = input.number<uint32_t>();
    std::string packet(reinterpret_cast<const char *>(&header), sizeof(header));
    packet.resize(sizeof(header) + body + (kind == 3 ? input.byte() : 0));
    return packet;
}

void partsCheck(const Block &packet, const relay::Frame &frame)
{
    const auto *begin = reinterpret_cast<unsigned char *>(packet.data());
    const auto &header = frame.header;
    require(relay::frameSize(header.dataLength, header.bufferLength) == packet.size(),
            "a packet is as long as its header says");
    require((frame.data != nullptr) == (header.dataLength != 0), "data is there when it has bytes");
    require((frame.buffer != nullptr) == (header.bufferLength != 0),
            "a buffer is there when it has bytes");
    const auto *end = begin + sizeof(header);
    if (frame.data != nullptr) {
        require(frame.data == end, "data follows the header");
        end = frame.data + header.dataLength;
    }
    if (frame.buffer != nullptr) {
        require(frame.buffer >= end && frame.buffer < end + relay::frameAlignment,
                "the buffer follows the data");
        require((frame.buffer - begin) % static_cast<ptrdiff_t>(relay::frameAlignment) == 0,
                "the buffer is aligned");
        end = frame.buffer + header.bufferLength;
    }
    require(end <= begin + packet.size(), "a message lies within its packet");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    Input input(bytes, size);
    const Block packet(packetRead(input));
    relay::Frame frame;
    const int status =
        relay::frameDecode(reinterpret_cast<unsigned char *>(packet.data()), packet.size(), frame);
    require(status == 0 || status == -EBADMSG || status == -EMSGSIZE,
            "a packet is a message, too long or no message");
    if (status == 0)
        partsCheck(packet, frame);
    else
        require(frame.data == nullptr && frame.buffer == nullptr, "a refused packet has no parts");
    return 0;
}
