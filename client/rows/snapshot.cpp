#include "client/rows/snapshot.h"

namespace swctl {

Snapshot::Snapshot(Database &source) : copy(Database::inMemory())
{
    source.copyTo(copy);
}

std::string Snapshot::image()
{
    return copy.serialised();
}

} // namespace swctl
