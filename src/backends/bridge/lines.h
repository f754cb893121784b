// The command lines of a bridge; only this unit composes them. Each function runs one
// line, logs it under `func`, and returns 0, or -1 if the tool failed.
#pragma once

#include <cstdint>

// Whether the kernel accepts a name for an interface and no tool takes it for an option.
// Names passed to the functions below must have passed this check.
[[nodiscard]] bool linkNameIsGood(const char *name);

[[nodiscard]] int linkUp(const char *name, const char *func);

// A bridge by its name.
[[nodiscard]] int bridgeMake(const char *bridge, const char *func);
[[nodiscard]] int bridgeFilteringSet(const char *bridge, bool on, const char *func);
[[nodiscard]] int bridgeSnoopingSet(const char *bridge, bool on, const char *func);

// The bridge itself as a member of a VLAN: what BRIDGE.ID receives.
[[nodiscard]] int bridgeSelfSet(const char *bridge, int32_t vlanId, bool member, const char *func);

// A port by its name. Untagged applies in both directions: untagged frames belong to the
// VLAN.
[[nodiscard]] int portJoin(const char *port, const char *bridge, const char *func);
[[nodiscard]] int portVlanAdd(const char *port, int32_t vlanId, bool untagged, const char *func);
[[nodiscard]] int portVlanDelete(const char *port, int32_t vlanId, const char *func);
[[nodiscard]] int portPauseSet(const char *port, bool on, const char *func);

// How a port sends: at most `rate` kbit/s, 0: as fast as it can; its queues below that.
struct PortSending {
    int32_t rate;
    int32_t queues;     // 2 or 4; 1: no queues
    int32_t strict;     // how many of them, from the highest on, go before all others
    int32_t weights[4]; // of the others, from the lowest queue on, from 1
};
[[nodiscard]] int portSendingSet(const char *port, const PortSending &sending, const char *func);
