// Decodes one row of a result table into a configuration record. Columns are found by name; a
// missing column or an SQL NULL leaves its field unchanged, except that a port list then counts
// as empty.
//
// Each function returns 0; -22 if the record is null, or if a text or port list is too long for
// its field. Such a row must not be used, and the record is partly written.
#pragma once

#include "model/configuration.h"
#include "swmgr/swmgr.h"

extern "C" {
[[nodiscard]] SWMGR_API int swGlobalCfgFromQueryResultRead(SwitchGlobalCfg *cfg, char **table,
                                                           int nCols, int row);
[[nodiscard]] SWMGR_API int swPortCfgFromQueryResultRead(SwitchPortCfg *cfg, char **table,
                                                         int nCols, int row);
[[nodiscard]] SWMGR_API int swVlanCfgFromQueryResultRead(SwitchVlanCfg *cfg, char **table,
                                                         int nCols, int row);
}
