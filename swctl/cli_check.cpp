// The check command.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/check/accepted.h"
#include "client/check/check_rules.h"
#include "client/rehearse/rehearsal.h"
#include "client/rows/snapshot.h"
#include "common/json.h"
#include "swctl/commands.h"

#include <algorithm>
#include <memory>
#include <net/if.h>

namespace swctl {
namespace {

constexpr size_t mostShown = 20; // findings of one rule shown in text output

// Exit status of `check`; an unusable database gives exitUsage, 2.
constexpr int exitWarnings = 1;
constexpr int exitErrors = 2;

struct Report {
    std::vector<Finding> findings;
    std::string notRehearsed; // why a start was not rehearsed; empty if it was

    [[nodiscard]] size_t count(Severity severity) const { return countOf(findings, severity); }
    [[nodiscard]] size_t accepted() const
    {
        return findings.size() - count(Severity::error) - count(Severity::warning);
    }
};

void printLines(const std::string &text, size_t indent, size_t hang)
{
    printWrapped(stdout, text, outputColumns, indent, hang);
}

std::set<std::string> localInterfaces()
{
    const std::unique_ptr<struct if_nameindex, Releaser<if_freenameindex>> all(if_nameindex());
    if (all == nullptr)
        throw Failure(exitUsage, "the interfaces of this machine cannot be listed");
    std::set<std::string> names;
    for (const struct if_nameindex *one = all.get(); one->if_index != 0; ++one)
        names.insert(one->if_name);
    return names;
}

std::optional<std::set<std::string>> givenInterfaces(const std::string &list)
{
    if (list.empty())
        return std::nullopt;
    if (list == "local")
        return localInterfaces();
    const std::vector<std::string> names = entriesOf(list);
    return std::set<std::string>(names.begin(), names.end());
}

// If the interfaces are not known, assumes that those named in rows exist. Their addresses do
// not affect whether a start stops.
Interfaces interfacesFor(Database &database, const CheckContext &context)
{
    constexpr HardwareAddress address = {2, 0, 0, 0, 0, 1};
    Interfaces interfaces;
    if (context.where.interfaces)
        for (const std::string &name : *context.where.interfaces)
            interfaces[name] = address;
    else
        for (const Row &row : database.rows("vlanEncapIf"))
            if (!row.text("interfaceName").empty())
                interfaces[row.text("interfaceName")] = address;
    return interfaces;
}

Report check(Database &source, const std::string &interfaceList)
{
    source.run("PRAGMA schema_version"); // reports a file that is not a database
    Snapshot snapshot(source);
    CheckContext context;
    context.where.interfaces = givenInterfaces(interfaceList);
    if (interfaceList == "local")
        context.where.unsupported = unsupportedHere();
    Report report;
    std::optional<Rehearsal> start;
    try {
        const Interfaces interfaces = interfacesFor(snapshot.database(), context);
        start.emplace(rehearse(Script(interfaces).image(snapshot.image()).start()));
        context.start = &*start;
    } catch (const Failure &failure) {
        report.notRehearsed = failure.what();
    }
    report.findings = checkConfiguration(snapshot.database(), context);
    markAccepted(snapshot.database(), report.findings);
    return report;
}

void printReportJson(const Report &report)
{
    Json findings = Json::array();
    for (const Finding &finding : report.findings)
        findings.push_back({{"rule", finding.rule->id},
                            {"severity", severityName(finding.severity)},
                            {"table", finding.table},
                            {"rowid", finding.rowId},
                            {"name", finding.name},
                            {"subject", finding.subject},
                            {"message", finding.message},
                            {"accepted", finding.accepted}});
    Json json = {{"errors", report.count(Severity::error)},
                 {"warnings", report.count(Severity::warning)},
                 {"startRehearsed", report.notRehearsed.empty()},
                 {"findings", std::move(findings)}};
    printJson(json);
}

using FindingIterator = std::vector<Finding>::const_iterator;

// Consecutive findings of one rule and severity.
void printGroup(FindingIterator first, FindingIterator last)
{
    printLines(std::string(severityName(first->severity)) + " " + first->rule->id + ": " +
                   first->rule->fault,
               0, 2);
    const auto count = static_cast<size_t>(last - first);
    const size_t shown = count > mostShown ? mostShown - 1 : count;
    for (const Finding &finding : std::span(first, shown)) {
        const std::string row =
            finding.rowId == 0 ? "" : " (rowid " + std::to_string(finding.rowId) + ")";
        printLines(finding.name + row + ": " + finding.message, 2, 2);
    }
    if (shown < count)
        printf("  and %zu more; --json shows all\n", count - shown);
    printLines(std::string("Mend: ") + first->rule->mend, 2, 2);
}

std::string counted(size_t number, const char *noun)
{
    return (number == 0 ? "no" : std::to_string(number)) + " " + noun + (number == 1 ? "" : "s");
}

void printReport(const Report &report)
{
    const auto &findings = report.findings;
    for (auto first = findings.begin(); first != findings.end();) {
        const auto last = std::find_if(first, findings.end(), [&](const Finding &finding) {
            return finding.rule != first->rule || finding.severity != first->severity;
        });
        if (!first->accepted)
            printGroup(first, last);
        first = last;
    }
    printf("%s, %s%s\n", counted(report.count(Severity::error), "error").c_str(),
           counted(report.count(Severity::warning), "warning").c_str(),
           report.accepted() == 0
               ? ""
               : (", " + std::to_string(report.accepted()) + " accepted").c_str());
    if (report.accepted() != findings.size())
        printf("'swctl check --explain RULE' explains why a rule matters.\n");
}

int checkRows(const Call &call)
{
    const std::string &file = call.text(call.has("FILE") ? "FILE" : "--database");
    Database database(file, Access::read);
    const Report report = check(database, call.text("--interfaces"));
    if (!report.notRehearsed.empty())
        fprintf(stderr, "swctl: a start was not rehearsed: %s\n", report.notRehearsed.c_str());
    if (call.globals.json)
        printReportJson(report);
    else
        printReport(report);
    if (report.count(Severity::error) != 0)
        return exitErrors;
    return report.accepted() == report.findings.size() ? exitDone : exitWarnings;
}

int listRules(const Globals &globals)
{
    Json json = Json::array();
    for (const Rule &rule : checkRules())
        if (globals.json)
            json.push_back({{"rule", rule.id},
                            {"severity", severityName(rule.severity)},
                            {"fault", rule.fault},
                            {"why", rule.why},
                            {"mend", rule.mend}});
        else
            printLines(padded(severityName(rule.severity), 9) + rule.id + ": " + rule.fault, 0, 9);
    if (globals.json)
        printJson(json);
    return exitDone;
}

const Rule *ruleNamed(const std::string &id)
{
    const Rule *rule = ruleById(id);
    if (rule == nullptr)
        throw Failure(exitUsage,
                      "there is no rule '" + printable(id) + "'; 'swctl check --rules' lists them");
    return rule;
}

int accept(const Call &call)
{
    const Rule *rule = ruleNamed(call.text("--accept"));
    const bool withdraws = call.flag("--withdraw");
    if (rule->severity == Severity::error)
        throw Failure(exitRefused, std::string("refused: ") + rule->id +
                                       " finds errors, which cannot be accepted");
    Database database(call.text(call.has("FILE") ? "FILE" : "--database"), Access::write);
    const bool changed = withdraws ? withdrawRule(database, *rule) : acceptRule(database, *rule);
    const char *state = withdraws ? "not accepted" : "accepted";
    if (call.globals.json)
        printJson({{"rule", rule->id}, {"accepted", !withdraws}, {"changed", changed}});
    else
        printf("warnings of %s are %s%s\n", rule->id, changed ? "now " : "already ", state);
    return exitDone;
}

int explain(const Globals &globals, const std::string &id)
{
    const Rule *rule = ruleNamed(id);
    if (globals.json) {
        printJson({{"rule", rule->id},
                   {"severity", severityName(rule->severity)},
                   {"fault", rule->fault},
                   {"why", rule->why},
                   {"mend", rule->mend}});
        return exitDone;
    }
    printLines(std::string(rule->id) + " (" + severityName(rule->severity) + "): " + rule->fault, 0,
               2);
    printLines(std::string("Why: ") + rule->why, 0, 2);
    printLines(std::string("Mend: ") + rule->mend, 0, 2);
    return exitDone;
}

int runCheck(const Call &call)
{
    const bool only[] = {call.has("--explain"), call.flag("--rules"), call.flag("--triggers"),
                         call.has("--accept")};
    if (std::count(std::begin(only), std::end(only), true) > 1)
        throw Failure(exitUsage, "--explain, --rules, --triggers and --accept cannot be combined");
    if (call.flag("--withdraw") && !call.has("--accept"))
        throw Failure(exitUsage, "--withdraw goes with --accept RULE");
    if (call.has("--accept"))
        return accept(call);
    if (call.has("--explain"))
        return explain(call.globals, call.text("--explain"));
    if (call.flag("--rules"))
        return listRules(call.globals);
    if (!call.flag("--triggers"))
        return checkRows(call);
    printf("%s", constraintTriggers().c_str());
    return exitDone;
}

constexpr OptionRow options[] = {
    {"FILE", "FILE", "Database to check instead of the configured one"},
    {"--interfaces", "LIST",
     "Network interfaces that exist where the service runs, or 'local' for those of this "
     "machine; without it, whether they exist is not checked"},
    {"--explain", "RULE", "Only explain why a rule matters"},
    {"--rules", nullptr, "Only list all rules"},
    {"--triggers", nullptr,
     "Only print the rules as triggers for the database, as constraints.sql holds them"},
    {"--accept", "RULE",
     "Accept the warnings of a rule: they are no longer shown or counted for this database"},
    {"--withdraw", nullptr, "With --accept: no longer accept them"},
};

} // namespace

constexpr CommandRow commands::check = {
    nullptr,
    "check",
    "Check the rows of a configuration and rehearse a startup of the service from it. Exit "
    "status: 0 nothing found, 1 warnings, 2 errors, or an unusable database",
    "  swctl check\n  swctl check new.db --interfaces eth0,eth1\n"
    "  swctl check --explain untag-twice\n  swctl check --accept shifted-ports",
    runCheck,
    {options}};

} // namespace swctl
