// Collects and prints metrics.
//
// The text is in the classic format, which the textfile collector and `promtool check metrics`
// read: unlike in OpenMetrics, HELP and TYPE of a counter include the `_total` suffix. The
// closing `# EOF` of OpenMetrics is just a comment to both.
#include "client/view/metrics.h"

#include "client/base/text.h"
#include "client/gateway/devices.h"
#include "client/gateway/gateway_view.h"
#include "client/service/service.h"
#include "client/service/service_life.h"
#include "common/clock.h"

#include <algorithm>
#include <cinttypes>
#include <utility>
#include <vector>

namespace swctl {
namespace {

using Labels = std::vector<std::pair<const char *, std::string>>;

std::string quoted(const std::string &value)
{
    std::string text = "\"";
    for (const char c : printable(value))
        if (c == '\\' || c == '"')
            (text += '\\') += c;
        else
            text += c;
    return text += '"';
}

class Exposition {
public:
    // Starts a family; its samples follow.
    void family(const char *familyName, const char *type, const char *help)
    {
        name = std::string("swmgr_") + familyName;
        ((text += "# HELP ") += name) += ' ';
        (text += help) += "\n# TYPE ";
        ((text += name) += ' ') += type;
        text += '\n';
    }

    void sample(uint64_t value, const Labels &labels = {})
    {
        begin(labels);
        (text += std::to_string(value)) += '\n';
    }

    void seconds(int64_t milliseconds)
    {
        char digits[32];
        snprintf(digits, sizeof(digits), "%" PRId64 ".%03d", milliseconds / 1000,
                 static_cast<int>(milliseconds % 1000));
        begin({});
        (text += digits) += '\n';
    }

    void gauge(const char *familyName, uint64_t value, const char *help)
    {
        family(familyName, "gauge", help);
        sample(value);
    }

    void counter(const char *familyName, uint64_t value, const char *help)
    {
        family(familyName, "counter", help);
        sample(value);
    }

    std::string finished() { return std::move(text += "# EOF\n"); }

private:
    void begin(const Labels &labels)
    {
        text += name;
        char separator = '{';
        for (const auto &[key, value] : labels) {
            ((text += separator) += key) += '=';
            text += quoted(value);
            separator = ',';
        }
        text += labels.empty() ? " " : "} ";
    }

    std::string text, name;
};

void addService(Exposition &out, const Facts &facts)
{
    out.family("build_info", "gauge", "Version of swctl.");
    out.sample(1, {{"version", SWMGR_VERSION}});
    out.gauge("up", facts.up ? 1 : 0, "Whether the service answers.");
    if (facts.start) {
        // Derived from two clocks, so anything below a second would vary from call to call.
        out.gauge("start_time_seconds", static_cast<uint64_t>((*facts.start + 500) / 1000),
                  "Unix time at which the service started.");
    }
    out.family("part_readable", "gauge", "Whether a part of the gateway could be read.");
    for (const auto &[part, readable] : facts.read)
        out.sample(readable ? 1 : 0, {{"part", part}});
}

void addDifferences(Exposition &out, const Status &status)
{
    out.family("differences", "gauge",
               "Deviations from what a fresh start would produce, by what fixes them.");
    constexpr std::pair<Remedy, const char *> remedies[] = {{Remedy::repair, "repair"},
                                                            {Remedy::restart, "restart"},
                                                            {Remedy::rows, "rows"},
                                                            {Remedy::file, "file"}};
    for (const auto &[remedy, word] : remedies) {
        const auto count = std::count_if(
            status.verdict.left.begin(), status.verdict.left.end(),
            [wanted = remedy](const Difference &found) { return found.remedy == wanted; });
        out.sample(static_cast<uint64_t>(count), {{"mend", word}});
    }
}

void addStatus(Exposition &out, const Status &status)
{
    out.gauge("healthy", status.isHealthy() ? 1 : 0, "Whether swctl status reports healthy.");
    if (status.load.unknown.empty())
        out.gauge("last_load_success", status.load.stopped ? 0 : 1,
                  "Whether the service loaded the whole configuration when it started.");
    out.gauge("next_start_stops", status.verdict.startStops.empty() ? 0 : 1,
              "Whether a rehearsed start from the database stops at a row.");
    out.gauge("vlans_configured", status.vlans, "VLANs in the database.");
    if (const std::optional<size_t> applied = status.applied())
        out.gauge("vlans_applied", *applied,
                  "VLANs in the state that a fresh start would produce.");
    out.gauge("vlans_different", status.different.size(),
              "VLANs of the database found to differ from that state.");
    addDifferences(out, status);
    out.gauge("settings_unknown", status.verdict.unknown.size(),
              "Settings that the database asks for and that nobody was seen sending.");
    out.gauge("change_unfinished", status.unfinished.empty() ? 0 : 1,
              "Whether a change was interrupted and waits for swctl recover.");
    out.gauge("change_on_trial", status.trial ? 1 : 0, "Whether a change waits for swctl confirm.");
    if (status.trial) {
        out.family("trial_deadline_seconds", "gauge",
                   "Unix time at which the change on trial is reverted.");
        out.seconds(status.trial->deadline * 1000);
    }
    if (status.failuresUnknown.empty())
        out.gauge("tools_failed", status.failures.size(),
                  "Tool command lines that failed and have not succeeded since.");
}

void addCounts(Exposition &out, const LogCounts &counts)
{
    const SwMgrLogCounters &all = counts.counters;
    out.family("log_start_time_seconds", "gauge",
               "Unix time at which the log daemon started; its counters start there.");
    out.seconds(counts.heard.since / nanosecondsPerMillisecond);
    out.counter("log_records_total", counts.records, "Records that the log daemon received.");
    out.counter("log_records_lost_total", counts.heard.lost,
                "Records that senders could not deliver to the log daemon.");
    out.counter("tool_runs_total", all.toolRuns, "Tool command lines that the service ran.");
    out.counter("tool_failures_total", all.toolFailures,
                "Those that failed, except removals of interfaces that did not exist.");
    const std::pair<const char *, const SwMgrLogRequests &> kinds[] = {
        {"database", all.databaseEvents},
        {"interface", all.interfaceEvents},
        {"malformed", all.malformed}};
    out.family("requests_total", "counter",
               "Requests in the service's log, which does not record successful VLAN requests "
               "and switch commands.");
    for (const auto &[kind, requests] : kinds)
        out.sample(requests.received, {{"kind", kind}});
    out.family("requests_refused_total", "counter",
               "Requests that were refused, including switch commands.");
    for (const auto &[kind, requests] : kinds)
        out.sample(requests.refused, {{"kind", kind}});
    out.sample(all.switchCommands.refused, {{"kind", "switch_command"}});
}

void addPorts(Exposition &out, const Facts &facts)
{
    const auto each = [&](const char *name, const char *help, auto valueOf) {
        out.family(name, "gauge", help);
        for (const Facts::Ports &ports : facts.ports)
            for (size_t port = 0; port < ports.states.size(); ++port)
                out.sample(valueOf(ports.states[port]),
                           {{"device", ports.node}, {"port", std::to_string(port)}});
    };
    each(
        "port_link_up", "Whether a port of the chip has a link.",
        [](const PortState &port) { return uint64_t{port.linkUp}; });
    each("port_default_vlan", "VLAN of untagged frames received on a chip port.",
         [](const PortState &port) { return uint64_t{port.pvid}; });
}

Database openDatabase(const std::string &path, Facts &facts)
{
    facts.read["database"] = false;
    Database database(path, Access::read);
    static_cast<void>(database.rows(switchTableName)); // throws if the file is not a database
    facts.read["database"] = true;
    return database;
}

void readPorts(GatewayView &gateway, Facts &facts)
{
    for (const Device *device : devices()) {
        const std::optional<std::string> node = nodeOf(gateway.database(), *device);
        if (!node)
            continue;
        auto ports = device->readPorts(gateway.site(), *node);
        if (!ports)
            continue;
        facts.read[device->part] = ports->held.has_value();
        if (ports->held)
            facts.ports.push_back({*node, std::move(*ports->held)});
    }
}

bool isUnread(const Status &status, const std::string &part)
{
    return std::any_of(
        status.verdict.unread.begin(), status.verdict.unread.end(),
        [&](const std::string &text) { return text.starts_with(part + ": "); });
}

} // namespace

Facts factsOf(const std::string &databasePath, const std::string &siteFile)
{
    Facts facts;
    try {
        GatewayView gateway(openDatabase(databasePath, facts), siteFile);
        readPorts(gateway, facts);
        facts.read["rehearsal"] = false;
        facts.status = statusOf(gateway);
        facts.read["rehearsal"] = true;
        facts.read["kernel"] = !isUnread(*facts.status, "kernel");
        for (const Device *device : devices())
            if (isUnread(*facts.status, device->part))
                facts.read[device->part] = false;
    } catch (const std::exception &failure) { // whatever failed, report the rest
        facts.reason = failure.what();
    }
    facts.up = facts.status ? facts.status->unreachable.empty() : serviceAnswers();
    if (facts.up)
        facts.start = facts.status ? facts.status->start : serviceStart();
    facts.counts = countsOfLog();
    facts.read["log"] = facts.counts.has_value();
    return facts;
}

std::string metricsText(const Facts &facts)
{
    Exposition out;
    addService(out, facts);
    if (facts.status)
        addStatus(out, *facts.status);
    if (facts.counts)
        addCounts(out, *facts.counts);
    if (!facts.ports.empty())
        addPorts(out, facts);
    return out.finished();
}

} // namespace swctl
