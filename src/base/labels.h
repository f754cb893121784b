// Labels that show which switch, port or VLAN a message is about. Each helper overwrites its
// own shared buffer, so the text is valid until the next call of the same helper.
#pragma once

#include "swmgr/swmgr.h"

struct Switch;
struct SwitchPort;
struct SwitchVlan;

extern "C" {
extern SWMGR_API char switchStr[512];
extern SWMGR_API char swPortStr[512];
extern SWMGR_API char swVlanStr[512];

// "(switch=NAME) ", or "" for null. Returns switchStr.
SWMGR_API char *switchStrGet(const Switch *sw);

// "(switch=NAME) (port:NUMBER) ". The port must not be null. Returns swPortStr.
SWMGR_API char *swPortStrGet(const SwitchPort *port);

// "(switch=NAME) (vlan:ID) ". The VLAN must not be null. Returns swVlanStr.
SWMGR_API char *swVlanStrGet(const SwitchVlan *vlan);
}
