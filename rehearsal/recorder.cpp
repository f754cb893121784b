// Collects pieces and writes them in large portions.
#include "rehearsal/recorder.h"

#include <unistd.h>

#include <string>

namespace rehearsal {

namespace {

constexpr size_t portion = 256 * 1024;

std::string pending; // pieces not written yet
bool failed = false; // a write failed

} // namespace

void record(Kind kind, int32_t number, uint32_t extra, const void *data, size_t length)
{
    const Piece piece{kind, number, extra, static_cast<uint32_t>(length)};
    pending.append(reinterpret_cast<const char *>(&piece), sizeof(piece));
    pending.append(static_cast<const char *>(data), length);
    if (pending.size() >= portion)
        static_cast<void>(recordsFlush());
}

void record(Kind kind, int32_t number, std::string_view text)
{
    record(kind, number, /*extra=*/0, text.data(), text.size());
}

bool recordsFlush()
{
    for (size_t sent = 0; sent < pending.size() && !failed;) {
        const ssize_t length = write(eventsFd, pending.data() + sent, pending.size() - sent);
        failed = length <= 0;
        sent += failed ? 0 : static_cast<size_t>(length);
    }
    pending.clear();
    return !failed;
}

} // namespace rehearsal
