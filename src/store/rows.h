// Row handlers: each decodes a row and hands the record to the model.
//
// Each returns 0 or the negative result of the decoder or of the model. A
// record lives only for the call; the model copies what it keeps.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// A row of swGlobalCfg becomes a switch.
[[nodiscard]] SWMGR_API int swGlobalCfgDBInsertHandler(char **table, int nCols, int row);

// A row of swPortConfig becomes a port.
[[nodiscard]] SWMGR_API int swPortCfgDBInsertHandler(char **table, int nCols, int row);

// A row of vlanEncapIf becomes a VLAN.
[[nodiscard]] SWMGR_API int swVlanCfgDBInsertHandler(char **table, int nCols, int row);

// The VLAN of the old row gets the values of the new one. -1 without an old row.
[[nodiscard]] SWMGR_API int swVlanCfgDBUpdateHandler(char **newTable, char **oldTable, int nCols,
                                                     int row);

// The VLAN of the old row goes.
[[nodiscard]] SWMGR_API int swVlanCfgDBDeleteHandler(char **oldTable, int nCols, int row);
}
