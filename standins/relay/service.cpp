// The serving side: registration of a module and the loop that passes messages to its
// handler. There is one thread and it never waits for a peer: every socket is
// non-blocking, and a peer that does not take its answer is disconnected.
#include "common/clock.h"
#include "standins/relay/endpoint.h"
#include "standins/relay/exported.h"
#include "standins/relay/frame.h"
#include "standins/relay/peer.h"
#include "standins/relay/post_ring.h"
#include "standins/relay/sender.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr uint32_t maxConnections = 64;
constexpr int acceptsPerRound = 16;
constexpr int roundsPerListen = 64; // a flood must not keep the host from checking its stop flag
constexpr int messagesPerTurn = 32; // of one connection, while its turn lasts
constexpr int64_t turn = 1000000;   // ns; a message that takes longer ends the turn
constexpr int postsPerLook = 16;    // of a ring, between readings of the clock
constexpr int64_t restless = 2000;  // us that a receiver of posts naps without asking for a wake-up
constexpr int64_t lookPeriod = 1000; // ms between checks whether the socket is still there
constexpr int nap = 10;              // ms, while the whole system has no descriptors left

struct Connection {
    int fd;          // -1: closed in this round
    uint64_t served; // the round in which the peer last sent something, or connected
    relay::PostRing ring;
};

} // namespace

struct RelayCtx {
    int moduleId;
    RelayHandler handler;
    void *arg;                // for the handler
    int lock;                 // held for as long as the module is registered
    int listener;             // accepts connections
    int reserve;              // closed for a moment when no descriptor is left; -1: none
    int64_t lookAt;           // ms: when to check next whether the socket is still there
    int lookFault;            // result of the last check
    bool listening;           // inside relayListen
    uint64_t round;           // counts rounds of serving
    bool postsCame;           // through rings, since the last wait: more are likely to follow soon
    uint32_t connectionCount; // entries in use, without gaps between rounds
    Connection connections[maxConnections];
    // A message, and room to pad its reply buffer.
    alignas(relay::frameAlignment) unsigned char packet[relay::maxFrameSize + RELAY_REPLY_SIZE];
};

namespace {

// Never waits. False if the peer is gone or does not read.
bool sendAnswer(int fd, const relay::FrameHeader &request, int result, void *buffer,
                uint32_t bufferLength)
{
    relay::FrameHeader header = {};
    header.magic = relay::frameMagic;
    header.kind = relay::FRAME_ANSWER;
    header.sequence = request.sequence;
    header.type = result;
    header.bufferLength = bufferLength;
    struct iovec parts[] = {{&header, sizeof(header)}, {buffer, bufferLength}};
    struct msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = bufferLength != 0 ? 2 : 1;
    return sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

// A handler may read RELAY_REPLY_SIZE bytes of a reply buffer, whatever the sender gave
// of them. The buffer ends a message, so what follows it is free.
void bufferPad(const relay::Frame &frame)
{
    const uint32_t given = frame.header.bufferLength;
    if (frame.buffer != nullptr && given < RELAY_REPLY_SIZE)
        memset(frame.buffer + given, 0, RELAY_REPLY_SIZE - given);
}

bool deliver(RelayCtx &ctx, int fd, relay::Frame &frame)
{
    bufferPad(frame);
    RelayMsgHdr header = {};
    header.sender = frame.header.sender;
    header.reserved3 = frame.header.dropped;
    header.request = frame.header.kind != relay::FRAME_ANSWER;
    const uint32_t capacity = frame.header.bufferLength;
    uint32_t replyLen = capacity;
    const int result =
        ctx.handler(ctx.arg, &header, frame.header.type, frame.data,
                    static_cast<int>(frame.header.dataLength), frame.buffer, &replyLen);
    if (frame.header.kind != relay::FRAME_REQUEST)
        return true;
    return sendAnswer(fd, frame.header, result, frame.buffer,
                      replyLen < capacity ? replyLen : capacity);
}

enum class Outcome {
    served,
    nothingLeft,
    close, // the peer has gone or breaks the rules
};

// The descriptor passed with a message.
Descriptor passedAlong(struct msghdr &message)
{
    Descriptor passed;
    for (struct cmsghdr *part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part))
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS &&
            part->cmsg_len == CMSG_LEN(sizeof(int))) {
            int number = -1;
            memcpy(&number, CMSG_DATA(part), sizeof(number));
            passed.reset(number);
        }
    return passed;
}

// Takes the next post from a connection's ring. Only posts come that way, so nobody waits
// for an answer.
Outcome servePost(RelayCtx &ctx, Connection &connection)
{
    const int length = relay::ringTake(connection.ring, ctx.packet);
    if (length == 0)
        return Outcome::nothingLeft;
    relay::Frame frame;
    if (length < 0 || relay::frameDecode(ctx.packet, static_cast<size_t>(length), frame) != 0 ||
        frame.header.kind != relay::FRAME_POST)
        return Outcome::close;
    return deliver(ctx, connection.fd, frame) ? Outcome::served : Outcome::close;
}

// Takes a ring's posts, which are many and short, while its turn lasts.
bool serveRing(RelayCtx &ctx, Connection &connection, int &served)
{
    const int64_t end = nanosecondsNow(CLOCK_MONOTONIC) + turn;
    do {
        for (int i = 0; i < postsPerLook; ++i) {
            const Outcome outcome = servePost(ctx, connection);
            if (outcome != Outcome::served)
                return outcome == Outcome::nothingLeft;
            ++served;
        }
    } while (nanosecondsNow(CLOCK_MONOTONIC) < end);
    return true;
}

// Posts already in the ring precede the sender's next request.
Outcome beginRing(RelayCtx &ctx, Connection &connection, const Descriptor &memory, int &served)
{
    if (connection.ring.memory != nullptr || relay::ringOpen(memory.get(), connection.ring) != 0)
        return Outcome::close;
    return serveRing(ctx, connection, served) ? Outcome::served : Outcome::close;
}

Outcome serveFrame(RelayCtx &ctx, Connection &connection, size_t length, const Descriptor &passed,
                   int &served)
{
    relay::Frame frame;
    const int status = relay::frameDecode(ctx.packet, length, frame);
    if (status != 0) {
        // A peer that waits learns why; one that cannot even frame a message is
        // disconnected.
        static_cast<void>(sendAnswer(connection.fd, frame.header, status, nullptr, 0));
        return Outcome::close;
    }
    if (frame.header.kind == relay::FRAME_RING)
        return beginRing(ctx, connection, passed, served);
    if (frame.header.kind == relay::FRAME_WAKE)
        return Outcome::served;
    return deliver(ctx, connection.fd, frame) ? Outcome::served : Outcome::close;
}

// Takes one message from a connection.
Outcome serveMessage(RelayCtx &ctx, Connection &connection, int &served)
{
    struct iovec part = {ctx.packet, relay::maxFrameSize};
    alignas(struct cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int))];
    struct msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = CMSG_LEN(sizeof(int)); // at most one descriptor
    // MSG_TRUNC makes the kernel return the length of the whole packet.
    const ssize_t length =
        recvmsg(connection.fd, &message, MSG_DONTWAIT | MSG_TRUNC | MSG_CMSG_CLOEXEC);
    if (length < 0)
        return errno == EAGAIN || errno == EINTR ? Outcome::nothingLeft : Outcome::close;
    const Descriptor passed = passedAlong(message); // even with an empty packet
    return length == 0 ? Outcome::close
                       : serveFrame(ctx, connection, static_cast<size_t>(length), passed, served);
}

// Takes the messages of one connection while its turn lasts. False: the connection must
// be closed.
bool serveConnection(RelayCtx &ctx, Connection &connection, int &served)
{
    const int64_t end = nanosecondsNow(CLOCK_MONOTONIC) + turn;
    for (int i = 0; i < messagesPerTurn; ++i) {
        const Outcome outcome = serveMessage(ctx, connection, served);
        if (outcome != Outcome::served)
            return outcome == Outcome::nothingLeft;
        ++served;
        if (nanosecondsNow(CLOCK_MONOTONIC) >= end)
            break;
    }
    return true;
}

void closeConnection(Connection &connection)
{
    relay::ringClose(connection.ring);
    close(connection.fd);
    connection.fd = -1;
}

// Posts written before the peer disconnected are still taken, but at most a full ring,
// since a peer that only closed its socket might go on for ever.
void closeServed(RelayCtx &ctx, Connection &connection, int &served)
{
    constexpr size_t most = relay::ringCapacity / sizeof(relay::FrameHeader);
    for (size_t i = 0; connection.ring.memory != nullptr && i < most; ++i) {
        if (servePost(ctx, connection) != Outcome::served)
            break;
        ++served;
    }
    closeConnection(connection);
}

void dropClosed(RelayCtx &ctx)
{
    uint32_t kept = 0;
    for (uint32_t i = 0; i < ctx.connectionCount; ++i)
        if (ctx.connections[i].fd >= 0)
            ctx.connections[kept++] = ctx.connections[i];
    ctx.connectionCount = kept;
}

// Room for a new connection: a free entry, or that of the peer silent for longest. A
// sender of posts that loses its connection this way reconnects unnoticed.
Connection *freeEntry(RelayCtx &ctx)
{
    if (ctx.connectionCount < maxConnections)
        return &ctx.connections[ctx.connectionCount++];
    Connection *oldest = &ctx.connections[0];
    for (Connection &connection : ctx.connections)
        if (connection.served < oldest->served)
            oldest = &connection;
    if (oldest->served == ctx.round)
        return nullptr;
    closeConnection(*oldest);
    return oldest;
}

void refuse(int fd)
{
    // Connection-level answer: sequence 0 belongs to no request.
    static_cast<void>(sendAnswer(fd, relay::FrameHeader{}, -EACCES, nullptr, 0));
}

int reserveOpen()
{
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

// Without a free descriptor the waiting peers would stay in the queue and wake the loop
// for ever: each is accepted with the one kept in reserve and disconnected.
void turnAway(RelayCtx &ctx)
{
    if (ctx.reserve < 0) {
        // Other processes have taken the system's last one; all we can do is wait.
        poll(nullptr, 0, nap);
    } else {
        close(ctx.reserve);
        const Descriptor peer(
            accept4(ctx.listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (peer.valid())
            static_cast<void>(sendAnswer(peer.get(), relay::FrameHeader{}, -EMFILE, nullptr, 0));
    }
    ctx.reserve = reserveOpen();
}

void acceptPending(RelayCtx &ctx)
{
    for (int i = 0; i < acceptsPerRound; ++i) {
        Connection *entry = freeEntry(ctx);
        if (entry == nullptr)
            return;
        entry->fd = accept4(ctx.listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        entry->served = ctx.round;
        entry->ring = {};
        if (entry->fd < 0) {
            const bool noDescriptor = errno == EMFILE || errno == ENFILE;
            dropClosed(ctx);
            if (noDescriptor)
                turnAway(ctx);
            return;
        }
        if (!relay::peerAdmitted(entry->fd)) {
            refuse(entry->fd);
            closeConnection(*entry);
            dropClosed(ctx);
        }
    }
}

// Empties every ring first, so that a request finds the posts before it already handled.
void serveRings(RelayCtx &ctx, int &served)
{
    const int before = served;
    for (uint32_t i = 0; i < ctx.connectionCount; ++i) {
        Connection &connection = ctx.connections[i];
        const int servedBefore = served;
        if (connection.fd < 0 || connection.ring.memory == nullptr)
            continue;
        if (!serveRing(ctx, connection, served))
            closeConnection(connection);
        if (served != servedBefore)
            connection.served = ctx.round;
    }
    ctx.postsCame = ctx.postsCame || served != before;
}

// Sets whether senders should wake this end. False: there are posts already.
bool askToBeWoken(const RelayCtx &ctx, bool ask)
{
    bool quiet = true;
    for (uint32_t i = 0; i < ctx.connectionCount; ++i)
        if (ctx.connections[i].ring.memory != nullptr)
            quiet = relay::ringAskToBeWoken(ctx.connections[i].ring, ask) && quiet;
    return quiet;
}

struct timespec fromMicroseconds(int64_t microseconds)
{
    constexpr int perSecond = 1000000;
    struct timespec time = {};
    time.tv_sec = static_cast<time_t>(microseconds / perSecond);
    time.tv_nsec = static_cast<long>(microseconds % perSecond * 1000);
    return time;
}

// Waits for a socket, at most that many microseconds; negative: without limit. While posts
// come through a ring it only takes a short break, so that their sender need not wake it
// for each one.
int waitForSockets(RelayCtx &ctx, struct pollfd *ready, nfds_t count, int64_t microseconds)
{
    const bool isLong = microseconds < 0 || microseconds > restless;
    const bool asks = isLong && !ctx.postsCame;
    if (asks && !askToBeWoken(ctx, /*ask=*/true))
        microseconds = 0;
    else if (isLong && !asks)
        microseconds = restless;
    const struct timespec wait = fromMicroseconds(microseconds);
    const int found = ppoll(ready, count, microseconds < 0 ? nullptr : &wait, nullptr);
    const int status = found < 0 ? -errno : found;
    if (asks)
        askToBeWoken(ctx, /*ask=*/false);
    return status;
}

// Waits for something to do and gives each connection one turn, so that a flooding peer
// gets no more than its share. Returns the number of sockets and posts handled, 0 if the
// time is over, or -errno.
int serveRound(RelayCtx &ctx, int64_t wait, int &served)
{
    struct pollfd ready[maxConnections + 1];
    for (uint32_t i = 0; i < ctx.connectionCount; ++i)
        ready[i] = {ctx.connections[i].fd, POLLIN, 0};
    const uint32_t polled = ctx.connectionCount;
    ready[polled] = {ctx.listener, POLLIN, 0};
    const int count = waitForSockets(ctx, ready, polled + 1, wait);
    if (count < 0)
        return count;
    ++ctx.round;
    const int before = served;
    serveRings(ctx, served);
    for (uint32_t i = 0; i < polled; ++i) {
        if (ready[i].revents == 0 || ctx.connections[i].fd < 0)
            continue;
        ctx.connections[i].served = ctx.round;
        if (!serveConnection(ctx, ctx.connections[i], served))
            closeServed(ctx, ctx.connections[i], served);
    }
    dropClosed(ctx);
    if (ready[polled].revents != 0)
        acceptPending(ctx);
    return count != 0 ? count : served - before;
}

// Puts the socket back into a directory that was emptied or replaced.
void lookForSocket(RelayCtx &ctx)
{
    const int64_t now = millisecondsNow(CLOCK_MONOTONIC_COARSE);
    if (now < ctx.lookAt)
        return;
    ctx.lookAt = now + lookPeriod;
    relay::Endpoint endpoint{Descriptor(ctx.lock), Descriptor(ctx.listener)};
    ctx.lookFault = relay::endpointRenew(ctx.moduleId, endpoint, ctx.lookFault);
    ctx.lock = endpoint.lock.release();
    ctx.listener = endpoint.listener.release();
}

} // namespace

RelayCtx *relayRegister(int moduleId, int /*mode*/, RelayHandler handler, void *arg)
{
    if (moduleId <= 0 || handler == nullptr)
        return nullptr;
    relay::Endpoint endpoint;
    if (relay::endpointOpen(moduleId, endpoint) != 0)
        return nullptr;
    RelayCtx *ctx = static_cast<RelayCtx *>(calloc(1, sizeof(RelayCtx)));
    if (ctx == nullptr) {
        relay::endpointClose(moduleId, endpoint);
        return nullptr;
    }
    ctx->moduleId = moduleId;
    ctx->handler = handler;
    ctx->arg = arg;
    ctx->lock = endpoint.lock.release();
    ctx->listener = endpoint.listener.release();
    ctx->reserve = reserveOpen();
    ctx->lookAt = millisecondsNow(CLOCK_MONOTONIC_COARSE) + lookPeriod;
    return ctx;
}

int relayListen(RelayCtx *ctx, int timeout)
{
    if (ctx == nullptr)
        return -EINVAL;
    if (ctx->listening)
        return -EBUSY; // called from the handler
    ctx->listening = true;
    lookForSocket(*ctx);
    relay::postsTidy();
    int served = 0;
    const bool restlessly = ctx->postsCame;
    int status = serveRound(*ctx, timeout, served);
    if (status == 0 && restlessly) { // it was only a short break
        ctx->postsCame = false;
        status = serveRound(*ctx, timeout, served);
    }
    for (int round = 1; status > 0 && round < roundsPerListen; ++round)
        status = serveRound(*ctx, /*wait=*/0, served);
    ctx->listening = false;
    return status < 0 && served == 0 ? status : served;
}

int relayUnRegister(RelayCtx *ctx)
{
    if (ctx == nullptr)
        return -EINVAL;
    for (uint32_t i = 0; i < ctx->connectionCount; ++i)
        closeConnection(ctx->connections[i]);
    if (ctx->reserve >= 0)
        close(ctx->reserve);
    relay::Endpoint endpoint{Descriptor(ctx->lock), Descriptor(ctx->listener)};
    relay::endpointClose(ctx->moduleId, endpoint);
    free(ctx);
    return 0;
}

uint32_t relay::senderId(const RelayCtx *ctx)
{
    return ctx != nullptr ? static_cast<uint32_t>(ctx->moduleId) : 0;
}
