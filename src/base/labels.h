// The label of a message: which switch, port or VLAN it is about. Each helper
// clears and fills its own shared buffer; the text holds until the next call of
// the same helper.
#pragma once

#include "swmgr/swmgr.h"

struct Switch;
struct SwitchPort;
struct SwitchVlan;

extern "C" {
extern SWMGR_API char switchStr[512];
extern SWMGR_API char swPortStr[512];
extern SWMGR_API char swVlanStr[512];

// "(switch=NAME) ", or the empty text for none. Returns switchStr.
SWMGR_API char *switchStrGet(const Switch *sw);

// "(switch=NAME) (port:NUMBER) ". A port must be given. Returns swPortStr.
SWMGR_API char *swPortStrGet(const SwitchPort *port);

// "(switch=NAME) (vlan:ID) ". A VLAN must be given. Returns swVlanStr.
SWMGR_API char *swVlanStrGet(const SwitchVlan *vlan);
}
