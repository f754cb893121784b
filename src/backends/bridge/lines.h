// The command lines of a bridge, which are composed only here. Each function runs one line,
// logs it under `func`, and returns 0, or -1 if the tool failed.
#pragma once

#include <cstdint>

// Whether the kernel accepts the name for an interface and no tool mistakes it for an option.
// Names passed to the functions below must have passed this check.
[[nodiscard]] bool linkNameIsGood(const char *name);

[[nodiscard]] int linkUp(const char *name, const char *func);

// Bridges, by name.
[[nodiscard]] int bridgeMake(const char *bridge, const char *func);
[[nodiscard]] int bridgeFilteringSet(const char *bridge, bool on, const char *func);
[[nodiscard]] int bridgeSnoopingSet(const char *bridge, bool on, const char *func);

// The bridge's own membership in a VLAN, which is what BRIDGE.ID receives.
[[nodiscard]] int bridgeSelfSet(const char *bridge, int32_t vlanId, bool member, const char *func);

// Ports, by name. Untagged applies to both directions: untagged frames received belong to the
// VLAN.
[[nodiscard]] int portJoin(const char *port, const char *bridge, const char *func);
[[nodiscard]] int portVlanAdd(const char *port, int32_t vlanId, bool untagged, const char *func);
[[nodiscard]] int portVlanDelete(const char *port, int32_t vlanId, const char *func);
[[nodiscard]] int portPauseSet(const char *port, bool on, const char *func);

// How a port sends: at most `rate` kbit/s (0 is unlimited), shared among its queues.
struct PortSending {
    int32_t rate;
    int32_t queues;     // 2 or 4; 1 for no queues
    int32_t strict;     // number of queues, from the highest, with strict priority over the rest
    int32_t weights[4]; // of the rest, from the lowest queue, at least 1
};
[[nodiscard]] int portSendingSet(const char *port, const PortSending &sending, const char *func);
