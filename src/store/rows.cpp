// Between the decoders and the model.
#include "store/rows.h"

#include "service/log.h"
#include "store/decode.h"
#include "switch/config.h"
#include "switch/port.h"
#include "vlan/vlan_config.h"

extern "C" int swGlobalCfgDBInsertHandler(char **table, int nCols, int row)
{
    SwitchGlobalCfg cfg{};
    int status = swGlobalCfgFromQueryResultRead(&cfg, table, nCols, row);
    if (status < 0)
        return status;
    status = switchConfAdd(&cfg);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to create new switch profile \n");
        return status;
    }
    return 0;
}

extern "C" int swPortCfgDBInsertHandler(char **table, int nCols, int row)
{
    SwitchPortCfg cfg{};
    int status = swPortCfgFromQueryResultRead(&cfg, table, nCols, row);
    if (status < 0)
        return status;
    status = switchPortConfAdd(&cfg);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to create new switch port profile \n");
        return status;
    }
    return 0;
}

extern "C" int swVlanCfgDBInsertHandler(char **table, int nCols, int row)
{
    SwitchVlanCfg cfg{};
    int status = swVlanCfgFromQueryResultRead(&cfg, table, nCols, row);
    if (status < 0)
        return status;
    status = switchVlanConfAdd(&cfg);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to create new switch vlan profile \n");
        return status;
    }
    return 0;
}

extern "C" int swVlanCfgDBUpdateHandler(char **newTable, char **oldTable, int nCols, int row)
{
    SwitchVlanCfg newCfg{};
    SwitchVlanCfg oldCfg{};
    int status = swVlanCfgFromQueryResultRead(&newCfg, newTable, nCols, row);
    if (status < 0)
        return status;
    status = swVlanCfgFromQueryResultRead(&oldCfg, oldTable, nCols, row);
    if (status < 0)
        return status;
    status = switchVlanConfUpdate(&newCfg, &oldCfg);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to update switch vlan profile \n");
        return status;
    }
    return 0;
}

extern "C" int swVlanCfgDBDeleteHandler(char **oldTable, int nCols, int row)
{
    SwitchVlanCfg cfg{};
    int status = swVlanCfgFromQueryResultRead(&cfg, oldTable, nCols, row);
    if (status < 0)
        return status;
    status = switchVlanConfDelete(&cfg);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to delete switch vlan profile \n");
        return status;
    }
    return 0;
}
