// swrehearse: plays a script against the library on a platform that only records.
// Called by swctl, which reads the outcome from the memory files that it passed;
// `swctl rehearse` shows it.
#include "common/descriptor.h"
#include "platform/relay.h"
#include "rehearsal/machine.h"
#include "rehearsal/recorder.h"
#include "swmgr/swmgr.h"

#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

extern RelayHandler registeredHandler; // set by the recording platform's relayRegister

namespace {

using namespace rehearsal;

constexpr int statusPlayed = 0;
constexpr int statusFailed = 1;
constexpr int statusUsage = 2;

constexpr char databaseName[] = "file:/rehearsal?vfs=memdb";
constexpr char usage[] =
    "usage: swrehearse\n"
    "\n"
    "Runs the switch manager's library on a platform that only records, with models of\n"
    "chip, engine and kernel. Called by swctl with a script on descriptor 3; see\n"
    "'swctl rehearse --help'.\n"
    "\n"
    "Exit status: 0 played, 1 the script or the library cannot be used, 2 wrong usage.\n";

// The in-memory database that the library opens by name. It lives as long as our
// connection to it.
sqlite3 *database = nullptr;

struct Script {
    const char *at;
    const char *end;

    // The next piece and its bytes. False at the end, or if a piece is incomplete.
    bool next(Piece &piece, std::string_view &data)
    {
        const auto left = static_cast<size_t>(end - at);
        if (left < sizeof(piece))
            return false;
        memcpy(&piece, at, sizeof(piece));
        if (piece.length > left - sizeof(piece))
            return false;
        data = {at + sizeof(piece), piece.length};
        at += sizeof(piece) + piece.length;
        return true;
    }
};

bool imagePlay(std::string_view bytes)
{
    sqlite3 *source = nullptr;
    bool copied = sqlite3_open(":memory:", &source) == SQLITE_OK;
    auto *image = static_cast<unsigned char *>(sqlite3_malloc64(bytes.size()));
    if (copied && image != nullptr) {
        memcpy(image, bytes.data(), bytes.size());
        const auto size = static_cast<sqlite3_int64>(bytes.size());
        copied = sqlite3_deserialize(source, "main", image, size, size,
                                     SQLITE_DESERIALIZE_FREEONCLOSE) == SQLITE_OK;
        sqlite3_backup *backup =
            copied ? sqlite3_backup_init(database, "main", source, "main") : nullptr;
        copied = backup != nullptr && sqlite3_backup_step(backup, -1) == SQLITE_DONE;
        if (backup != nullptr)
            copied = sqlite3_backup_finish(backup) == SQLITE_OK && copied;
    }
    sqlite3_close(source);
    return copied;
}

bool interfacePlay(std::string_view data)
{
    unsigned char address[6];
    if (data.size() <= sizeof(address))
        return false;
    memcpy(address, data.data(), sizeof(address));
    interfaceAdd(address, std::string(data.substr(sizeof(address))));
    return true;
}

bool startPlay()
{
    const int status = swMgrInit(databaseName);
    record(Kind::answer, status, {});
    return true;
}

// As relayListen hands a request over, zeros behind the reply buffer included.
// `bufferLength` bytes at the end of `data` are that buffer.
bool requestPlay(int type, std::string_view data, uint32_t bufferLength)
{
    if (registeredHandler == nullptr || bufferLength > data.size())
        return false;
    std::vector<char> bytes(data.begin(), data.end());
    bytes.resize(data.size() + RELAY_REPLY_SIZE);
    char *body = bytes.data();
    const size_t length = data.size() - bufferLength;
    RelayMsgHdr header = {};
    header.request = 1;
    uint32_t replyLength = bufferLength;
    const int status = registeredHandler(/*arg=*/nullptr, &header, type,
                                         length != 0 ? body : nullptr, static_cast<int>(length),
                                         bufferLength != 0 ? body + length : nullptr, &replyLength);
    record(Kind::answer, status, {});
    return true;
}

bool play(const Piece &piece, std::string_view data)
{
    switch (piece.kind) {
    case Kind::interface:
        return interfacePlay(data);
    case Kind::device:
        deviceAdd(std::string(data));
        return true;
    case Kind::image:
        return imagePlay(data);
    case Kind::start:
        return startPlay();
    case Kind::request:
        return requestPlay(piece.number, data, piece.extra);
    default:
        return false;
    }
}

bool playAll()
{
    struct stat about = {};
    if (fstat(scriptFd, &about) != 0 || about.st_size <= 0 || !machineInit())
        return false;
    const auto size = static_cast<size_t>(about.st_size);
    void *memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, scriptFd, 0);
    if (memory == MAP_FAILED)
        return false;
    sqlite3_config(SQLITE_CONFIG_URI, 1);
    sqlite3_config(SQLITE_CONFIG_SINGLETHREAD);
    if (sqlite3_open(databaseName, &database) != SQLITE_OK)
        return false;
    Script script{static_cast<const char *>(memory), static_cast<const char *>(memory) + size};
    Piece piece;
    std::string_view data;
    while (script.next(piece, data))
        if (!play(piece, data))
            return false;
    machine().magic = stateMagic;
    return script.at == script.end && recordsFlush();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && strcmp(argv[1], "--help") == 0)
        return fputs(usage, stdout) < 0 ? statusFailed : statusPlayed;
    if (argc > 1) {
        fputs("swrehearse: takes no arguments. Try 'swrehearse --help'.\n", stderr);
        return statusUsage;
    }
    if (playAll())
        return statusPlayed;
    fputs("swrehearse: the script cannot be played\n", stderr);
    return statusFailed;
}
