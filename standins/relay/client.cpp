// The sending side. Mode 1 makes a connection for each request, waits for the answer and
// returns the handler's result. Mode 2 keeps one connection for each destination and never
// waits: a message that cannot be sent at once is dropped and counted, and the next one
// that gets through carries the count. A sender of more than a few posts continues in
// memory shared with the receiver.
#include "common/clock.h"
#include "common/descriptor.h"
#include "standins/relay/endpoint.h"
#include "standins/relay/exported.h"
#include "standins/relay/frame.h"
#include "standins/relay/post_ring.h"
#include "standins/relay/sender.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

namespace {

constexpr int modeWait = 1;
constexpr int modePost = 2;
constexpr int defaultTimeout = 180; // seconds that mode 1 waits for an answer
constexpr int maxTimeout = 24 * 3600;
constexpr int postQueue = 512 * 1024;    // bytes of posts waiting outside a ring
constexpr uint32_t postsBeforeRing = 16; // most senders never get this far
constexpr int64_t longestUnheard = 10;   // ms until a sender checks whether the receiver is alive
constexpr int64_t minPause = 10;         // ms until the next attempt to connect
constexpr int64_t maxPause = 1000;       // ms
constexpr uint32_t maxDestinations = 8;

// A module to which posts are sent.
struct Destination {
    int module;       // 0: entry not used
    int fd;           // -1: not connected
    uint32_t dropped; // posts lost since the last one that was sent
    uint32_t posts;   // posts sent, up to postsBeforeRing
    int64_t retryAt;  // ms on the coarse clock: no attempt to connect before this
    int64_t pause;    // ms between attempts to connect
    int64_t heardAt;  // ms: when the receiver's socket last accepted something
    relay::PostRing ring;
    int ringMemory; // passed to each receiver; -1: none
};

// Written by relayIoctl in mode 2 and by relayDeInit, under the lock, which is held only
// across system calls that do not wait.
constinit Destination destinations[maxDestinations] = {};
constinit pthread_mutex_t destinationsLock = PTHREAD_MUTEX_INITIALIZER;

class Locked {
public:
    Locked() { pthread_mutex_lock(&destinationsLock); }
    ~Locked() { pthread_mutex_unlock(&destinationsLock); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;
};

// A message to send.
struct Outgoing {
    relay::FrameHeader header;
    void *data;   // header.dataLength bytes
    void *buffer; // header.bufferLength bytes
};

constexpr size_t partCount = 4;

// The message's bytes, in order.
void outgoingParts(Outgoing &outgoing, struct iovec (&parts)[partCount])
{
    static constinit unsigned char padding[relay::frameAlignment] = {};
    parts[0] = {&outgoing.header, sizeof(outgoing.header)};
    parts[1] = {outgoing.data, outgoing.header.dataLength};
    parts[2] = {padding, relay::framePadding(outgoing.header.dataLength)};
    parts[3] = {outgoing.buffer, outgoing.header.bufferLength};
}

int sendWhole(int fd, const struct msghdr &message, int flags)
{
    ssize_t sent = 0;
    do {
        sent = sendmsg(fd, &message, flags | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent >= 0 ? 0 : -errno;
}

int sendOutgoing(int fd, Outgoing &outgoing, int flags)
{
    struct iovec parts[partCount];
    outgoingParts(outgoing, parts);
    struct msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = partCount;
    return sendWhole(fd, message, flags);
}

int connectTo(int module, int flags, Descriptor &connection)
{
    struct sockaddr_un address = {};
    const int status = relay::endpointAddress(module, address);
    if (status != 0)
        return status;
    if (!connection.valid())
        connection.reset(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
    if (!connection.valid())
        return -errno;
    int connected = 0;
    do {
        connected = connect(connection.get(), reinterpret_cast<const struct sockaddr *>(&address),
                            sizeof(address));
    } while (connected != 0 && errno == EINTR);
    return connected == 0 ? 0 : -errno;
}

// --- mode 2 -----------------------------------------------------------------

Destination *findDestination(int module)
{
    for (Destination &destination : destinations) {
        if (destination.module == module)
            return &destination;
        if (destination.module == 0) {
            destination = {};
            destination.module = module;
            destination.fd = -1;
            destination.pause = minPause;
            destination.ringMemory = -1;
            return &destination;
        }
    }
    return nullptr;
}

void disconnect(Destination &destination)
{
    close(destination.fd);
    destination.fd = -1;
}

// A packet without content: it passes the ring's memory, or says that the ring is not
// empty.
int sendSign(Destination &destination, relay::FrameKind kind)
{
    relay::FrameHeader header = {};
    header.magic = relay::frameMagic;
    header.kind = kind;
    struct iovec part = {&header, sizeof(header)};
    alignas(struct cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int))] = {};
    struct msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (kind == relay::FRAME_RING) {
        message.msg_control = control;
        message.msg_controllen = sizeof(control);
        struct cmsghdr *passed = CMSG_FIRSTHDR(&message);
        passed->cmsg_level = SOL_SOCKET;
        passed->cmsg_type = SCM_RIGHTS;
        passed->cmsg_len = CMSG_LEN(sizeof(int));
        memcpy(CMSG_DATA(passed), &destination.ringMemory, sizeof(int));
    }
    return sendWhole(destination.fd, message, MSG_DONTWAIT);
}

// A pause after each attempt, growing while nobody listens, limits the cost of a post to
// an absent receiver to reading the clock.
int reconnect(Destination &destination)
{
    const int64_t now = millisecondsNow(CLOCK_MONOTONIC_COARSE);
    if (now < destination.retryAt)
        return -EAGAIN;
    Descriptor connection;
    const int status = connectTo(destination.module, SOCK_NONBLOCK, connection);
    destination.retryAt = now + destination.pause;
    if (status != 0) {
        destination.pause = destination.pause * 2 < maxPause ? destination.pause * 2 : maxPause;
        return status;
    }
    destination.pause = minPause;
    // A larger queue than usual, if that is allowed; failing does no harm.
    if (setsockopt(connection.get(), SOL_SOCKET, SO_SNDBUFFORCE, &postQueue, sizeof(postQueue)) !=
        0) {
        static_cast<void>(
            setsockopt(connection.get(), SOL_SOCKET, SO_SNDBUF, &postQueue, sizeof(postQueue)));
    }
    destination.fd = connection.release();
    // Whatever the last receiver left unread goes to the next one.
    const int passed =
        destination.ring.memory != nullptr ? sendSign(destination, relay::FRAME_RING) : 0;
    if (passed != 0)
        disconnect(destination);
    return passed;
}

bool connectionLost(int status)
{
    return status == -EPIPE || status == -ECONNRESET || status == -ENOTCONN;
}

void forgetDestinations()
{
    for (Destination &destination : destinations) {
        if (destination.module == 0)
            break;
        relay::ringClose(destination.ring);
        if (destination.fd >= 0)
            close(destination.fd);
        if (destination.ringMemory >= 0)
            close(destination.ringMemory);
        destination = {};
    }
}

// A forked child shares its parent's rings, and leaves them to the parent.
void afterFork()
{
    pthread_mutex_init(&destinationsLock, nullptr);
    forgetDestinations();
}

// Without a ring, posts continue as packets.
void beginRing(Destination &destination)
{
    static constinit bool prepared = false;
    if (!prepared)
        prepared = pthread_atfork(nullptr, nullptr, afterFork) == 0;
    if (!prepared)
        return;
    destination.ringMemory = relay::ringCreate(destination.ring).release();
    if (destination.ringMemory >= 0 && sendSign(destination, relay::FRAME_RING) == 0)
        return;
    relay::ringClose(destination.ring);
    if (destination.ringMemory >= 0)
        close(destination.ringMemory);
    destination.ringMemory = -1;
}

// A receiver that is awake checks the ring by itself. It is woken if it asked for that,
// and now and then to see whether it is still there.
int wake(Destination &destination)
{
    const int64_t now = millisecondsNow(CLOCK_MONOTONIC_COARSE);
    if (!relay::ringWakeDue(destination.ring) && now - destination.heardAt < longestUnheard)
        return 0;
    const int status = sendSign(destination, relay::FRAME_WAKE);
    destination.heardAt = now;
    return status == -EAGAIN ? 0 : status; // it has enough wake-ups to read already
}

// A post in the ring gets through, if not to this receiver, then to the next one.
int putInRing(Destination &destination, Outgoing &outgoing)
{
    struct iovec parts[partCount];
    outgoingParts(outgoing, parts);
    const bool put = relay::ringPut(destination.ring, parts, partCount);
    if (connectionLost(wake(destination))) {
        disconnect(destination);
        static_cast<void>(reconnect(destination));
    }
    return put ? 0 : -EAGAIN;
}

int trySend(Destination &destination, Outgoing &outgoing)
{
    if (destination.fd < 0) {
        const int status = reconnect(destination);
        if (status != 0)
            return status;
    }
    if (destination.ring.memory != nullptr)
        return putInRing(destination, outgoing);
    const int status = sendOutgoing(destination.fd, outgoing, MSG_DONTWAIT);
    if (status == 0 && ++destination.posts == postsBeforeRing)
        beginRing(destination);
    if (connectionLost(status))
        disconnect(destination);
    return status;
}

int post(int module, Outgoing &outgoing)
{
    const Locked locked;
    Destination *destination = findDestination(module);
    if (destination == nullptr)
        return -ENOSPC;
    outgoing.header.dropped = destination->dropped;
    int status = trySend(*destination, outgoing);
    if (connectionLost(status))
        status = trySend(*destination, outgoing); // the receiver may have been restarted
    if (status == 0)
        destination->dropped = 0;
    else
        ++destination->dropped;
    return status;
}

// --- mode 1 -----------------------------------------------------------------

int64_t answerTimeout()
{
    const char *text = getenv("RELAY_TIMEOUT");
    const long seconds = text != nullptr ? strtol(text, nullptr, 10) : 0;
    return (seconds > 0 && seconds <= maxTimeout ? seconds : defaultTimeout) * int64_t{1000};
}

int limitWait(int fd, int64_t timeout)
{
    struct timeval limit = {};
    limit.tv_sec = static_cast<time_t>(timeout / 1000);
    // Applies to connecting as well.
    return setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0 ? 0 : -errno;
}

int waitReadable(int fd, int64_t deadline)
{
    for (;;) {
        const int64_t left = deadline - millisecondsNow(CLOCK_MONOTONIC);
        struct pollfd ready = {fd, POLLIN, 0};
        const int count = left > 0 ? poll(&ready, 1, static_cast<int>(left)) : 0;
        if (count > 0)
            return 0;
        if (count == 0)
            return -ETIMEDOUT;
        if (errno != EINTR)
            return -errno;
    }
}

// A service that refuses a connection answers and closes at once; the first attempt to
// read then reports the close, and the second one finds the answer.
ssize_t receiveOnce(int fd, struct msghdr &message)
{
    const ssize_t length = recvmsg(fd, &message, MSG_DONTWAIT);
    return length < 0 && errno == ECONNRESET ? recvmsg(fd, &message, MSG_DONTWAIT) : length;
}

// The outcome of a request: the handler's result, or why there is none.
struct Answer {
    int result;
    bool handled; // the result is the handler's, not the messaging's
};

Answer unanswered(int reason)
{
    return {reason, false};
}

Answer receiveAnswer(int fd, int64_t deadline, uint32_t sequence, void *buffer, uint32_t &bufferLen)
{
    const int status = waitReadable(fd, deadline);
    if (status != 0)
        return unanswered(status);
    relay::FrameHeader header = {};
    struct iovec parts[] = {{&header, sizeof(header)}, {buffer, bufferLen}};
    struct msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = bufferLen != 0 ? 2 : 1;
    const ssize_t length = receiveOnce(fd, message);
    if (length <= 0)
        return unanswered(length < 0 ? -errno : -ECONNRESET);
    const bool complete = static_cast<size_t>(length) == sizeof(header) + header.bufferLength &&
                          (message.msg_flags & MSG_TRUNC) == 0;
    if (!complete || header.magic != relay::frameMagic || header.kind != relay::FRAME_ANSWER ||
        (header.sequence != sequence && header.sequence != 0))
        return unanswered(-EBADMSG);
    bufferLen = header.bufferLength;
    // A refusal by the messaging itself does not belong to any particular request.
    return {header.type, header.sequence == sequence};
}

Answer requestAnswer(int module, Outgoing &outgoing, uint32_t &bufferLen)
{
    const int64_t timeout = answerTimeout();
    const int64_t deadline = millisecondsNow(CLOCK_MONOTONIC) + timeout;
    Descriptor connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!connection.valid())
        return unanswered(-errno);
    int status = limitWait(connection.get(), timeout);
    if (status == 0)
        status = connectTo(module, 0, connection);
    if (status == -EAGAIN)
        return unanswered(-ETIMEDOUT);
    if (status != 0)
        return unanswered(status);
    // A failure here may be a refusal whose reason is waiting to be read.
    outgoing.header.sequence = 1;
    status = sendOutgoing(connection.get(), outgoing, 0);
    if (status != 0 && !connectionLost(status))
        return unanswered(status == -EAGAIN ? -ETIMEDOUT : status);
    return receiveAnswer(connection.get(), deadline, outgoing.header.sequence, outgoing.buffer,
                         bufferLen);
}

// A handler may return an errno value as well, so errno tells its answer from a message
// that did not get through.
int notSent(int reason)
{
    errno = reason;
    return -reason;
}

} // namespace

int relayInit(void)
{
    return 0; // connections are made when they are first needed
}

int relayIoctl(RelayCtx *ctx, int destModule, int requestType, void *data, int dataLen, void *buf,
               uint32_t *bufLen, int mode, int /*arg1*/, int /*arg2*/)
{
    uint32_t capacity = buf != nullptr && bufLen != nullptr ? *bufLen : 0;
    if (destModule <= 0 || dataLen < 0 || (data == nullptr && dataLen != 0) ||
        (mode != modeWait && mode != modePost))
        return notSent(EINVAL);
    if (relay::frameSize(static_cast<size_t>(dataLen), capacity) == 0)
        return notSent(EMSGSIZE);
    Outgoing outgoing = {};
    outgoing.header.magic = relay::frameMagic;
    outgoing.header.kind = mode == modeWait ? relay::FRAME_REQUEST : relay::FRAME_POST;
    outgoing.header.sender = relay::senderId(ctx);
    outgoing.header.type = requestType;
    outgoing.header.dataLength = static_cast<uint32_t>(dataLen);
    outgoing.header.bufferLength = capacity;
    outgoing.data = data;
    outgoing.buffer = buf;
    if (mode == modePost)
        return post(destModule, outgoing);
    if (outgoing.header.sender == static_cast<uint32_t>(destModule))
        return notSent(EDEADLK); // nobody would serve the request while it waits
    const Answer answer = requestAnswer(destModule, outgoing, capacity);
    if (buf != nullptr && bufLen != nullptr)
        *bufLen = capacity;
    if (!answer.handled && answer.result < 0)
        return notSent(-answer.result);
    errno = 0;
    return answer.result;
}

void relay::postsTidy()
{
    const Locked locked;
    for (Destination &destination : destinations)
        if (destination.ring.memory != nullptr)
            relay::ringTidy(destination.ring);
}

int relayDeInit(void)
{
    const Locked locked;
    forgetDestinations();
    return 0;
}
