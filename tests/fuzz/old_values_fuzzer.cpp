// The old values of a row that was deleted or changed: any block of bytes.
#include "service.h"

#include "support/requests.h"
#include "swmgr/swmgr_client.h"

using namespace fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    constexpr int32_t kinds[] = {SWMGR_DB_DELETE, SWMGR_DB_UPDATE, SWMGR_DB_INSERT};
    Service service;
    Input input(bytes, size);
    const Table &table = tableOf(input);
    const int32_t kind = input.pick(kinds);
    const auto rowId = static_cast<int64_t>(input.below(8));
    service.check(dbEvent(table.name, kind, rowId, input.rest()));
    return 0;
}
