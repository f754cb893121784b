// Answers the requests that the kernel passes on from openers of the node. One thread:
// the chip sees one request at a time.
#include "simulator/cuse/device.h"

#include "common/exit_status.h"
#include "devices/chip/chip_text.h"
#include "standins/sal/device_protocol.h"

#include <cuse_lowlevel.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

namespace chip {

namespace {

// Set by deviceServe before the first request; libfuse offers no place for it that every
// callback could reach.
Model *servedModel = nullptr;
FILE *traceFile = nullptr;

struct Opener {
    bool json = false;    // the form it has chosen to read
    bool reading = false; // `state` is being fetched
    std::string state;    // snapshot of the chip
    size_t sent = 0;      // bytes of it already sent
};

Opener &openerOf(const fuse_file_info &file)
{
    return *reinterpret_cast<Opener *>(static_cast<uintptr_t>(file.fh));
}

void onOpen(fuse_req_t call, fuse_file_info *file)
{
    auto opener = std::make_unique<Opener>();
    file->fh = reinterpret_cast<uintptr_t>(opener.get());
    // The kernel only releases files that are open.
    if (fuse_reply_open(call, file) == 0)
        static_cast<void>(opener.release());
}

void onRelease(fuse_req_t call, fuse_file_info *file)
{
    const std::unique_ptr<Opener> opener(&openerOf(*file));
    fuse_reply_err(call, 0);
}

// The kernel passes no position for such a device. A read at the end of the text
// returns 0 once; the next one begins with a new snapshot.
void onRead(fuse_req_t call, size_t size, off_t, fuse_file_info *file)
{
    Opener &opener = openerOf(*file);
    if (!opener.reading) {
        opener.state = opener.json ? stateJson(*servedModel) : stateTable(*servedModel);
        opener.sent = 0;
    }
    const size_t part = std::min(size, opener.state.size() - opener.sent);
    fuse_reply_buf(call, opener.state.data() + opener.sent, part);
    opener.sent += part;
    opener.reading = part != 0;
}

void onWrite(fuse_req_t call, const char *text, size_t size, off_t, fuse_file_info *file)
{
    std::string_view word(text, size);
    if (!word.empty() && word.back() == '\n')
        word.remove_suffix(1);
    if (word != jsonWord && word != tableWord) {
        fuse_reply_err(call, EINVAL);
        return;
    }
    Opener &opener = openerOf(*file);
    opener.json = word == jsonWord;
    opener.reading = false;
    fuse_reply_write(call, size);
}

// The kernel copies the record in and out as the request number says, so the record is
// here whenever the number has a size and a direction.
void onRequest(fuse_req_t call, int command, void *argument, fuse_file_info *, unsigned,
               const void *in, size_t inSize, size_t outSize)
{
    const auto request = static_cast<uint32_t>(command);
    std::array<uint8_t, device::maxRecordSize> record{};
    const size_t size = std::min(std::max(inSize, outSize), record.size());
    if (inSize != 0)
        memcpy(record.data(), in, std::min(inSize, size));
    const int64_t value = size == 0 ? reinterpret_cast<intptr_t>(argument) : 0;
    const int result = servedModel->handle(request, value, record.data(), size);
    if (traceFile != nullptr) {
        const std::string line = requestText(request, value, record.data(), size, result);
        fprintf(traceFile, "chip  | %s\n", line.c_str());
        fflush(traceFile);
    }
    if (result < 0)
        fuse_reply_err(call, -result);
    else
        fuse_reply_ioctl(call, result, record.data(), std::min(outSize, size));
}

} // namespace

int deviceServe(Model &model, const DeviceOptions &options)
{
    servedModel = &model;
    traceFile = options.trace;
    const std::string name = "DEVNAME=" + options.name;
    const char *variables[] = {name.c_str()};
    cuse_info info = {};
    info.dev_info_argc = 1;
    info.dev_info_argv = variables;
    cuse_lowlevel_ops calls = {};
    calls.open = onOpen;
    calls.release = onRelease;
    calls.read = onRead;
    calls.write = onWrite;
    calls.ioctl = onRequest;
    char program[] = "swcuse";
    char foreground[] = "-f";
    char oneThread[] = "-s";
    char *arguments[] = {program, foreground, oneThread, nullptr};
    if (cuse_lowlevel_main(3, arguments, &info, &calls, nullptr) == 0)
        return EXIT_STOPPED;
    fprintf(stderr,
            "swcuse: cannot serve /dev/%s. It takes root, the kernel module cuse "
            "(modprobe cuse) and a name that no device has.\n",
            options.name.c_str());
    return EXIT_FAILED;
}

} // namespace chip
