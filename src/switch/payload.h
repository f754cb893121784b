// Reads a command's record out of a payload, which may lie at any address.
#pragma once

#include "model/command.h"

#include <cstring>
#include <type_traits>

// A copy of the record at the start of a payload. Every sender provides the
// record of its command whole; a relay request even the whole payload area.
template <class Record>
Record recordOf(const void *payload)
{
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) <= commandAreaLength);
    Record record;
    memcpy(&record, payload, sizeof(record));
    return record;
}
