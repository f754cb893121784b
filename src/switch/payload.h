// Reading a command's record from a payload, which need not be aligned.
#pragma once

#include "model/command.h"

#include <cstring>
#include <type_traits>

// A copy of the record at the start of a payload. Every sender provides the complete record; a
// relay request even provides the whole payload area.
template <class Record>
Record recordOf(const void *payload)
{
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) <= commandAreaLength);
    Record record;
    memcpy(&record, payload, sizeof(record));
    return record;
}
