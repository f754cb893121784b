// Reads a command's record out of a payload, which may lie at any address.
#pragma once

#include <cstring>

template <class Record>
Record recordOf(const void *payload)
{
    Record record;
    memcpy(&record, payload, sizeof(record));
    return record;
}
