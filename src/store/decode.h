// Decodes one row of a result table into a configuration record. Columns are
// found by name; a missing column or an SQL NULL leaves its field alone, except
// that a port list then counts as empty.
//
// Each returns 0, or -22 without a record and for a row that must not be used, since a
// text or port list is longer than its field. The record is then partly written.
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
