// The engine's state as tables for people and as JSON for programs.
#include "devices/engine/show.h"

#include <algorithm>

namespace engine {

namespace {

struct MacText {
    char text[18];
};

MacText macText(const Mac &mac)
{
    MacText result = {};
    const uint8_t *b = mac.bytes;
    snprintf(result.text, sizeof(result.text), "%02x:%02x:%02x:%02x:%02x:%02x", b[0], b[1], b[2],
             b[3], b[4], b[5]);
    return result;
}

// "0x0e (1,2,3)"
struct MapText {
    char text[40];
};

MapText mapText(uint32_t map)
{
    MapText result = {};
    size_t at = 0;
    const auto room = [&] { return sizeof(result.text) - at; };
    const auto advance = [&](int length) {
        at = std::min(at + static_cast<size_t>(std::max(length, 0)), sizeof(result.text) - 1);
    };
    advance(snprintf(result.text, room(), "0x%02x", map));
    const char *separator = " (";
    for (uint32_t port = 0; port < portCount; ++port) {
        if (((map >> port) & 1) == 0)
            continue;
        advance(snprintf(result.text + at, room(), "%s%u", separator, port));
        separator = ",";
    }
    if (map != 0)
        advance(snprintf(result.text + at, room(), ")"));
    return result;
}

// A corrupt file may claim more entries than the table has.
uint32_t vlanEnd(const State &state)
{
    return std::min(state.vlanIndexEnd, vlanTableSize);
}

void portsTable(const State &state, FILE *out)
{
    fputs("\nport  rate value  unit  sched mode  weights (2^n)  trust flag\n", out);
    for (uint32_t i = 0; i < portCount; ++i) {
        const PortState &port = state.ports[i];
        if (!port.rateSet && !port.schedSet && !port.trustSet)
            continue;
        fprintf(out, "%4u", i);
        if (port.rateSet)
            fprintf(out, "  %10u  %4u", port.rateValue, port.rateUnit);
        else
            fprintf(out, "  %10s  %4s", "-", "-");
        if (port.schedSet)
            fprintf(out, "  %10u  %u,%u,%u,%u      ", port.schedMode, port.weights[0],
                    port.weights[1], port.weights[2], port.weights[3]);
        else
            fprintf(out, "  %10s  %-13s", "-", "-");
        if (port.trustSet)
            fprintf(out, "  %10u\n", port.trustFlag + 1u);
        else
            fprintf(out, "  %10s\n", "-");
    }
}

void vlansTable(const State &state, FILE *out)
{
    fputs("\nindex  VLAN  WAN  tagged          members         MAC\n", out);
    for (uint32_t i = 0; i < vlanEnd(state); ++i) {
        const VlanEntry &vlan = state.vlans[i];
        if (!vlan.present)
            continue;
        fprintf(out, "%5u  %4u  %-3s  %-14s  %-14s  %s\n", i, vlan.vlanId,
                vlan.isWan ? "yes" : "no", mapText(vlan.etagMap).text, mapText(vlan.mbMap).text,
                vlan.hasMac ? macText(vlan.mac).text : "-");
    }
    fputs("\naddress            VLAN  ports           flag\n", out);
    for (uint32_t id = 0; id < vlanIdCount; ++id)
        for (const ArlEntry &entry : state.arl[id])
            if (entry.present)
                fprintf(out, "%s  %4u  %-14s  %u\n", macText(entry.mac).text, id,
                        mapText(entry.portMap).text, entry.flag);
}

void interfacesTable(const State &state, FILE *out)
{
    fputs("\nsub-interface    state  tag to packet    packet to tag\n", out);
    for (uint32_t id = 0; id < vlanIdCount; ++id) {
        for (const SubInterface &way : state.interfaces[id]) {
            if (!way.present)
                continue;
            const int width = fprintf(out, "%.15s.%u", way.parent, id);
            fprintf(out, "%*s  %-5s ", std::max(15 - width, 0), "", way.up ? "up" : "down");
            for (const uint8_t priority : way.ingress)
                fprintf(out, " %u", priority);
            fputs(" ", out);
            for (uint32_t i = 0; i < ingressCount; ++i)
                fprintf(out, " %u", way.egress[i]);
            fputc('\n', out);
        }
    }
}

void portsJson(const State &state, FILE *out)
{
    for (uint32_t i = 0; i < portCount; ++i) {
        const PortState &port = state.ports[i];
        fprintf(out, "%s\n{\"port\":%u,\"rate\":", i == 0 ? "" : ",", i);
        if (port.rateSet)
            fprintf(out, "{\"value\":%u,\"unit\":%u}", port.rateValue, port.rateUnit);
        else
            fputs("null", out);
        fputs(",\"queues\":", out);
        if (port.schedSet)
            fprintf(out, "{\"mode\":%u,\"weights\":[%u,%u,%u,%u]}", port.schedMode, port.weights[0],
                    port.weights[1], port.weights[2], port.weights[3]);
        else
            fputs("null", out);
        if (port.trustSet)
            fprintf(out, ",\"trustFlag\":%u}", port.trustFlag + 1u);
        else
            fputs(",\"trustFlag\":null}", out);
    }
}

void vlansJson(const State &state, FILE *out)
{
    const char *separator = "";
    for (uint32_t i = 0; i < vlanEnd(state); ++i) {
        const VlanEntry &vlan = state.vlans[i];
        if (!vlan.present)
            continue;
        fprintf(out,
                "%s\n{\"index\":%u,\"vlan\":%u,\"isWan\":%u,\"etagMap\":%u,\"mbMap\":%u,"
                "\"mac\":\"%s\"}",
                separator, i, vlan.vlanId, vlan.isWan, vlan.etagMap, vlan.mbMap,
                vlan.hasMac ? macText(vlan.mac).text : "");
        separator = ",";
    }
}

void arlJson(const State &state, FILE *out)
{
    const char *separator = "";
    for (uint32_t id = 0; id < vlanIdCount; ++id) {
        for (const ArlEntry &entry : state.arl[id]) {
            if (!entry.present)
                continue;
            fprintf(out, "%s\n{\"vlan\":%u,\"mac\":\"%s\",\"portMap\":%u,\"flag\":%u}", separator,
                    id, macText(entry.mac).text, entry.portMap, entry.flag);
            separator = ",";
        }
    }
}

void listJson(const char *name, const uint8_t *values, size_t count, FILE *out)
{
    fprintf(out, ",\"%s\":[", name);
    for (size_t i = 0; i < count; ++i)
        fprintf(out, "%s%u", i == 0 ? "" : ",", values[i]);
    fputc(']', out);
}

// A parent's name is whatever a tool was given, so it may contain any character.
void stringJson(const char *text, size_t size, FILE *out)
{
    fputc('"', out);
    for (size_t i = 0; i < size && text[i] != '\0'; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == '"' || c == '\\' || c > 0x7e)
            fprintf(out, "\\u%04x", c);
        else
            fputc(c, out);
    }
    fputc('"', out);
}

void interfacesJson(const State &state, FILE *out)
{
    const char *separator = "";
    for (uint32_t id = 0; id < vlanIdCount; ++id) {
        for (const SubInterface &way : state.interfaces[id]) {
            if (!way.present)
                continue;
            fprintf(out, "%s\n{\"parent\":", separator);
            stringJson(way.parent, sizeof(way.parent), out);
            fprintf(out, ",\"vlan\":%u,\"up\":%u", id, way.up);
            listJson("ingress", way.ingress, ingressCount, out);
            listJson("egress", way.egress, egressCount, out);
            fputc('}', out);
            separator = ",";
        }
    }
}

} // namespace

void tablePrint(const State &state, FILE *out)
{
    constexpr const char *queues[] = {"1 queue", "2 queues", "4 queues"};
    fprintf(out, "rate limiter %s, %s; registers", state.rateLimiter ? "on" : "off",
            queues[std::min(state.queueCode, 2u)]);
    bool any = false;
    for (uint32_t i = 0; i < registerCount; ++i) {
        if (state.registers[i] == 0)
            continue;
        fprintf(out, " 0x%08x=0x%08x", registerBase + registerSize * i, state.registers[i]);
        any = true;
    }
    fputs(any ? "\n" : " all 0\n", out);
    portsTable(state, out);
    vlansTable(state, out);
    interfacesTable(state, out);
}

void jsonPrint(const State &state, FILE *out)
{
    fprintf(out, "{\"rateLimiter\":%u,\"queueCode\":%u,\n\"registers\":{", state.rateLimiter,
            state.queueCode);
    const char *separator = "";
    for (uint32_t i = 0; i < registerCount; ++i) {
        if (state.registers[i] == 0)
            continue;
        fprintf(out, "%s\"0x%08x\":%u", separator, registerBase + registerSize * i,
                state.registers[i]);
        separator = ",";
    }
    fputs("},\n\"ports\":[", out);
    portsJson(state, out);
    fputs("],\n\"vlans\":[", out);
    vlansJson(state, out);
    fputs("],\n\"arl\":[", out);
    arlJson(state, out);
    fputs("],\n\"interfaces\":[", out);
    interfacesJson(state, out);
    fputs("]}\n", out);
}

} // namespace engine
