// Builds labels in shared buffers.
#include "base/labels.h"

#include "model/switch.h"
#include "model/vlan.h"
#include "platform/text.h"

// Each is overwritten by every call of its helper.
constinit char switchStr[512] = {};
constinit char swPortStr[512] = {};
constinit char swVlanStr[512] = {};

namespace {

// A port or VLAN that does not belong to a switch has no owner to name.
const char *nameOf(const Switch *sw)
{
    return sw != nullptr ? sw->switchName : "";
}

} // namespace

extern "C" char *switchStrGet(const Switch *sw)
{
    memset(switchStr, 0, sizeof(switchStr));
    if (sw != nullptr)
        textFormat(switchStr, "(switch=%s) ", sw->switchName);
    return switchStr;
}

extern "C" char *swPortStrGet(const SwitchPort *port)
{
    memset(swPortStr, 0, sizeof(swPortStr));
    textFormat(swPortStr, "(switch=%s) (port:%d) ", nameOf(port->ownerSwitch), port->portNumber);
    return swPortStr;
}

extern "C" char *swVlanStrGet(const SwitchVlan *vlan)
{
    memset(swVlanStr, 0, sizeof(swVlanStr));
    textFormat(swVlanStr, "(switch=%s) (vlan:%d) ", nameOf(vlan->ownerSwitch), vlan->vlanId);
    return swVlanStr;
}
