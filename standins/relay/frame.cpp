// Packet layout: sizes and decoding. Called by both ends of a connection.
#include "standins/relay/frame.h"

#include <cerrno>
#include <cstring>

namespace relay {

size_t framePadding(size_t dataLength)
{
    return (frameAlignment - dataLength % frameAlignment) % frameAlignment;
}

size_t frameSize(size_t dataLength, size_t bufferLength)
{
    if (dataLength > maxFrameSize || bufferLength > maxFrameSize)
        return 0;
    const size_t size = sizeof(FrameHeader) + dataLength + framePadding(dataLength) + bufferLength;
    return size <= maxFrameSize ? size : 0;
}

int frameDecode(unsigned char *bytes, size_t length, Frame &frame)
{
    frame = Frame{};
    if (length < sizeof(FrameHeader))
        return -EBADMSG;
    FrameHeader header;
    memcpy(&header, bytes, sizeof(header));
    if (header.magic != frameMagic || header.kind < FRAME_REQUEST || header.kind > FRAME_WAKE)
        return -EBADMSG;
    frame.header = header;

    const size_t expected = frameSize(header.dataLength, header.bufferLength);
    if (expected == 0 || length > maxFrameSize)
        return -EMSGSIZE;
    if (length != expected)
        return -EBADMSG;
    if (header.dataLength != 0)
        frame.data = bytes + sizeof(header);
    if (header.bufferLength != 0)
        frame.buffer = bytes + (length - header.bufferLength);
    return 0;
}

} // namespace relay
