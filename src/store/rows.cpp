// Connects the decoders with the model.
#include "store/rows.h"

#include "base/log.h"
#include "config/switch_config.h"
#include "config/vlan_config.h"
#include "model/status.h"
#include "store/decode.h"
#include "switch/port.h"

namespace {

// Converts the model's result, and logs a failure with the handler's message.
int answered(int status, const char *func, const char *message)
{
    if (status >= 0)
        return 0;
    LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "%s", message);
    return status;
}

} // namespace

extern "C" int swGlobalCfgDBInsertHandler(char **table, int nCols, int row)
{
    SwitchGlobalCfg cfg{};
    const int status = swGlobalCfgFromQueryResultRead(&cfg, table, nCols, row);
    if (status < 0)
        return status;
    return answered(switchConfAdd(&cfg), __func__, "Failed to create new switch profile \n");
}

extern "C" int swPortCfgDBInsertHandler(char **table, int nCols, int row)
{
    SwitchPortCfg cfg{};
    const int status = swPortCfgFromQueryResultRead(&cfg, table, nCols, row);
    if (status < 0)
        return status;
    return answered(switchPortConfAdd(&cfg), __func__,
                    "Failed to create new switch port profile \n");
}

extern "C" int swVlanCfgDBInsertHandler(char **table, int nCols, int row)
{
    SwitchVlanCfg cfg{};
    const int status = swVlanCfgFromQueryResultRead(&cfg, table, nCols, row);
    if (status < 0)
        return status;
    return answered(switchVlanConfAdd(&cfg), __func__,
                    "Failed to create new switch vlan profile \n");
}

extern "C" int swVlanCfgDBUpdateHandler(char **newTable, char **oldTable, int nCols, int row)
{
    if (oldTable == nullptr) {
        LOG_ERROR(noLabel, "update of a VLAN without its old values\n");
        return statusFailed;
    }
    SwitchVlanCfg newCfg{};
    SwitchVlanCfg oldCfg{};
    int status = swVlanCfgFromQueryResultRead(&newCfg, newTable, nCols, row);
    if (status < 0)
        return status;
    status = swVlanCfgFromQueryResultRead(&oldCfg, oldTable, nCols, row);
    if (status < 0)
        return status;
    return answered(switchVlanConfUpdate(&newCfg, &oldCfg), __func__,
                    "Failed to update switch vlan profile \n");
}

extern "C" int swVlanCfgDBDeleteHandler(char **oldTable, int nCols, int row)
{
    SwitchVlanCfg cfg{};
    const int status = swVlanCfgFromQueryResultRead(&cfg, oldTable, nCols, row);
    if (status < 0)
        return status;
    return answered(switchVlanConfDelete(&cfg), __func__,
                    "Failed to delete switch vlan profile \n");
}
