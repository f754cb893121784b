// The serving side of the messaging stand-in, through its socket: an input is a
// sequence of packets on a few connections, some with a ring of posts.
#include "input.h"

#include "standins/relay/endpoint.h"
#include "standins/relay/exported.h"
#include "standins/relay/frame.h"
#include "standins/relay/post_ring.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace fuzz;

constexpr int module = 7;
constexpr size_t connections = 3;
constexpr size_t longestProgram = 16;
constexpr int oddResult = -77; // the handler's result

uint32_t asked = 0;               // calls of the handler
std::vector<uint32_t> capacities; // reply buffers of the packets of an input, by sequence

// Reads and writes everything it was given, as a handler may.
int handle(void *, RelayMsgHdr *, int type, void *data, int length, void *buffer,
           uint32_t *bufferLength)
{
    ++asked;
    require(length >= 0 && (data != nullptr) == (length != 0), "data is there when it has bytes");
    uint8_t sum = 0;
    for (int i = 0; i < length; ++i)
        sum = static_cast<uint8_t>(sum + static_cast<uint8_t *>(data)[i]);
    require((buffer != nullptr) == (*bufferLength != 0), "a buffer is there when it has bytes");
    if (buffer != nullptr) {
        for (uint32_t i = *bufferLength; i < RELAY_REPLY_SIZE; ++i)
            require(static_cast<uint8_t *>(buffer)[i] == 0, "a short buffer goes on with zeros");
        memset(buffer, sum, std::max<uint32_t>(*bufferLength, RELAY_REPLY_SIZE));
    }
    if (type < 0)
        *bufferLength += 64; // like a handler that breaks its contract
    return oddResult;
}

RelayCtx *serviceStart()
{
    static char folder[] = "/tmp/relay-fuzz-XXXXXX";
    require(mkdtemp(folder) != nullptr, "there is a folder for the socket");
    setenv("RELAY_DIR", folder, 1);
    RelayCtx *service = relayRegister(module, 2, handle, nullptr);
    require(service != nullptr, "the service starts");
    return service;
}

RelayCtx *running = nullptr; // from the first input on

// Leaves nothing in the file system.
void serviceStop()
{
    relayUnRegister(running);
    static_cast<void>(rmdir(getenv("RELAY_DIR")));
}

int connectionOpen()
{
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    require(relay::endpointAddress(module, address) == 0, "the socket has an address");
    require(connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0,
            "the service accepts");
    return fd;
}

std::string packetRead(Input &input)
{
    relay::FrameHeader header{};
    header.magic = input.below(8) != 0 ? relay::frameMagic : input.number<uint32_t>();
    header.kind = 1 + static_cast<uint32_t>(input.below(6));
    header.sequence = static_cast<uint32_t>(capacities.size());
    header.type = input.number<int16_t>();
    header.dataLength = input.byte();
    header.bufferLength = input.below(4) == 0 ? input.number<uint32_t>() : input.byte();
    capacities.push_back(header.bufferLength);
    const size_t size = relay::frameSize(header.dataLength, header.bufferLength);
    std::string packet(size != 0 ? size : sizeof(header), 'x');
    memcpy(packet.data(), &header, sizeof(header));
    if (input.below(4) == 0)
        packet.resize(input.number<uint16_t>());
    return packet;
}

// Shared memory with arbitrary positions and first bytes, or with proper posts; or
// another kind of file.
Descriptor ringMake(Input &input)
{
    relay::PostRing ring{};
    Descriptor memory = relay::ringCreate(ring);
    require(memory.valid(), "there is memory to share");
    relay::FrameHeader header{relay::frameMagic, relay::FRAME_POST, 0, 0, 0, 0, 0, 0};
    const iovec part = {&header, sizeof(header)};
    for (uint64_t count = input.below(4); count != 0; --count)
        require(relay::ringPut(ring, &part, 1), "a post has room");
    for (uint64_t count = input.below(4); count != 0; --count) {
        const size_t at = 4 * input.below(64);
        const uint32_t value = input.number<uint32_t>();
        memcpy(reinterpret_cast<unsigned char *>(ring.memory) + at, &value, sizeof(value));
    }
    relay::ringClose(ring);
    if (input.below(8) == 0)
        memory.reset(memfd_create("other", MFD_CLOEXEC));
    return memory;
}

// A packet, turned into one that passes a ring if the input says so.
void packetSend(int fd, const std::string &packet, Input &input)
{
    iovec part = {const_cast<char *>(packet.data()), packet.size()};
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    Descriptor memory;
    if (input.below(4) == 0) {
        memory = ringMake(input);
        message.msg_control = control;
        message.msg_controllen = sizeof(control);
        cmsghdr *passed = CMSG_FIRSTHDR(&message);
        passed->cmsg_level = SOL_SOCKET;
        passed->cmsg_type = SCM_RIGHTS;
        passed->cmsg_len = CMSG_LEN(sizeof(int));
        const int number = memory.get();
        memcpy(CMSG_DATA(passed), &number, sizeof(number));
    }
    static_cast<void>(sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL));
}

void answersTake(int fd)
{
    static unsigned char packet[relay::maxFrameSize];
    for (;;) {
        const ssize_t length = recv(fd, packet, sizeof(packet), MSG_DONTWAIT);
        if (length <= 0)
            return;
        relay::FrameHeader header;
        require(static_cast<size_t>(length) >= sizeof(header), "an answer has a header");
        memcpy(&header, packet, sizeof(header));
        require(header.magic == relay::frameMagic && header.kind == relay::FRAME_ANSWER &&
                    static_cast<size_t>(length) == sizeof(header) + header.bufferLength,
                "an answer is one");
        require(header.sequence < capacities.size() &&
                    header.bufferLength <= capacities[header.sequence],
                "an answer fits the buffer of its request");
    }
}

// Whatever the others sent, a peer that follows the rules is served.
void serviceCheck()
{
    const int fd = connectionOpen();
    relay::FrameHeader header{};
    header.magic = relay::frameMagic;
    header.kind = relay::FRAME_REQUEST;
    header.sequence = 1;
    const uint32_t before = asked;
    require(send(fd, &header, sizeof(header), MSG_NOSIGNAL) == sizeof(header), "a request goes");
    relayListen(running, 0);
    relay::FrameHeader answer{};
    require(recv(fd, &answer, sizeof(answer), MSG_DONTWAIT) == sizeof(answer) &&
                asked == before + 1 && answer.type == oddResult && answer.sequence == 1,
            "a request is answered");
    close(fd);
    relayListen(running, 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    if (running == nullptr) {
        running = serviceStart();
        atexit(serviceStop);
    }
    Input input(bytes, size);
    int fds[connections] = {-1, -1, -1};
    capacities.assign(1, 0); // sequence 0 belongs to no request
    for (size_t step = 0; step < longestProgram && !input.empty(); ++step) {
        int &fd = fds[input.below(connections)];
        if (fd < 0)
            fd = connectionOpen();
        if (input.below(8) == 0) { // disconnects without waiting for its answers
            close(fd);
            fd = -1;
            continue;
        }
        const std::string packet = packetRead(input);
        packetSend(fd, packet, input);
        if (input.below(2) == 0) {
            relayListen(running, 0);
            answersTake(fd);
        }
    }
    relayListen(running, 0);
    for (const int fd : fds)
        if (fd >= 0)
            close(fd);
    serviceCheck();
    return 0;
}
