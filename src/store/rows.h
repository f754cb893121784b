// Row handlers: each decodes a row and passes the record to the model.
//
// Each returns 0, or the negative result of the decoder or the model. A record lives only for
// the call; the model copies what it keeps.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Creates a switch from a row of swGlobalCfg.
[[nodiscard]] SWMGR_API int swGlobalCfgDBInsertHandler(char **table, int nCols, int row);

// Creates a port from a row of swPortConfig.
[[nodiscard]] SWMGR_API int swPortCfgDBInsertHandler(char **table, int nCols, int row);

// Creates a VLAN from a row of vlanEncapIf.
[[nodiscard]] SWMGR_API int swVlanCfgDBInsertHandler(char **table, int nCols, int row);

// Updates the old row's VLAN with the values of the new one. Returns -1 if there is no old row.
[[nodiscard]] SWMGR_API int swVlanCfgDBUpdateHandler(char **newTable, char **oldTable, int nCols,
                                                     int row);

// Deletes the old row's VLAN.
[[nodiscard]] SWMGR_API int swVlanCfgDBDeleteHandler(char **oldTable, int nCols, int row);
}
