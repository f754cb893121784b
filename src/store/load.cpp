// Reads a table and passes its rows to the row handler in table order.
#include "store/load.h"

#include "base/log.h"
#include "model/status.h"
#include "store/database.h"
#include "store/rows.h"

namespace {

struct Loader {
    const char *query;
    int (*insert)(char **table, int nCols, int row);
    const char *queryMessage; // logged if the table cannot be read
    const char *rowMessage;   // logged if a row is refused
};

int load(const Loader &loader, const char *func)
{
    int32_t nCols = 0;
    int32_t nRows = 0;
    const ResultTable table(swMgrTableGet(loader.query, &nCols, &nRows));
    if (table == nullptr) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "%s", loader.queryMessage);
        return statusInvalid;
    }
    for (int32_t row = 0; row < nRows; ++row) {
        const int status = loader.insert(table.get(), nCols, row);
        if (status < 0) {
            LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "%s", loader.rowMessage);
            return status;
        }
    }
    return 0;
}

} // namespace

extern "C" int switchCfgLoad(void)
{
    constexpr Loader loader{"SELECT * from swGlobalCfg", swGlobalCfgDBInsertHandler,
                            "failed to get list of switches from the database\n",
                            "failed to load switch profile\n"};
    return load(loader, __func__);
}

extern "C" int switchPortCfgLoad(void)
{
    // Refused ports use the message for refused switches.
    constexpr Loader loader{"SELECT * from swPortConfig", swPortCfgDBInsertHandler,
                            "failed to get list of switch ports from the database\n",
                            "failed to load switch profile\n"};
    return load(loader, __func__);
}

extern "C" int switchVlanCfgLoad(void)
{
    constexpr Loader loader{"SELECT * from vlanEncapIf", swVlanCfgDBInsertHandler,
                            "failed to get list of vlans from the database\n",
                            "Failed to load the switch VLAN configuration\n"};
    return load(loader, __func__);
}
