// The rules of 'swctl check' against faulty databases: what it finds, with a start
// judged by the service itself, and that the triggers agree.
#include "client/base/failure.h"
#include "client/check/accepted.h"
#include "client/check/check.h"
#include "client/check/check_rules.h"
#include "client/devices/chip/chip.h"
#include "client/rehearse/rehearsal.h"
#include "client/rows/columns.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using namespace swctl;

namespace {

std::string fileText(const std::string &name)
{
    std::ostringstream text;
    text << std::ifstream(DATA "/" + name).rdbuf();
    return text.str();
}

Database soundDatabase()
{
    Database database = Database::inMemory();
    database.run(fileText("schema.sql").c_str());
    database.run(
        "INSERT INTO swGlobalCfg (switchName, switchDevice, vlanEnable, numPorts, switchLevel)"
        " VALUES ('BCM', '/dev/bcmsw', 1, 5, 1), ('PSE', NULL, 1, 4, 2);"
        "INSERT INTO swPortConfig (switchName, portNumber, phyDevice) VALUES ('BCM', 0, NULL),"
        " ('BCM', 1, NULL), ('BCM', 2, NULL), ('BCM', 3, NULL), ('PSE', 1, 'BCM:1'),"
        " ('PSE', 2, 'BCM:2,BCM:3');"
        "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, untagMap)"
        " VALUES (10, 'eth0', '0, 1,2,3', '1'), (20, 'eth1', '0,1,2,3', '2');");
    return database;
}

std::vector<Finding> findingsOf(Database &database)
{
    const Interfaces interfaces = {{"eth0", {2}}, {"eth1", {2}}, {"uplink.of.port1", {2}}};
    const Rehearsal start = rehearse(Script(interfaces).image(database.serialised()).start());
    return checkConfiguration(database,
                              {{{{"eth0", "eth1", "uplink.of.port1"}}, {"BRIDGE"}}, &start});
}

// Each rule once, in the order of the findings.
std::string rulesOf(const std::vector<Finding> &findings)
{
    std::string rules;
    for (const Finding &finding : findings)
        if (rules.find(finding.rule->id) == std::string::npos)
            rules += (rules.empty() ? "" : " ") + std::string(finding.rule->id);
    return rules;
}

// clang-format off
#define VLAN   "UPDATE vlanEncapIf SET "
#define PORT   "UPDATE swPortConfig SET "
#define SWITCH "UPDATE swGlobalCfg SET "
#define ADD_PORT "INSERT INTO swPortConfig (switchName, portNumber) VALUES "
#define ADD_SWITCH "INSERT INTO swGlobalCfg (switchName, switchLevel, vlanEnable) VALUES "
#define ADD_BRIDGE "INSERT INTO swGlobalCfg (switchName, switchDevice, switchLevel, vlanEnable)" \
    " VALUES ('BRIDGE', 'br0', 3, 1); INSERT INTO swPortConfig (switchName, portNumber," \
    " interfaceName) VALUES ('BRIDGE', "
// One fault each, and the rules that it breaks; the triggers refuse it by the one marked
// with *. Without a mark, SQL cannot tell, or the rule only warns.
constexpr struct { const char *sql, *rules; } cases[] = {
    {"SELECT 1", ""}, // sound
    {"DROP TABLE vlanEncapIf", "start-stops table-missing"},
    {"ALTER TABLE swPortConfig RENAME COLUMN trustMode TO TrustMode", "column-missing"},
    {VLAN "LogicalIfName = printf('%64s', '')", "start-stops *text-too-long"},
    {VLAN "interfaceName = 'eth0;'", "start-stops *interface-bad-name interface-unknown"},
    {PORT "interfaceName = 'LAN 1'", ""}, // no line takes the name of such a port
    {PORT "rateLimit = 'fast'", "number-text"},
    {PORT "trustMode = 5", "*value-range"},
    {PORT "PVID = 4095", "start-stops *value-range"},
    {PORT "schedMode = 2", "value-range"},
    {SWITCH "vlanEnable = 2", "start-stops *value-range"},
    {ADD_SWITCH "('pse', 0, 1)", "start-stops *switch-unknown-name"},
    {ADD_SWITCH "('PSE', 3, 1)", "start-stops *switch-duplicate"},
    {SWITCH "switchDevice = ''", "*switch-device-missing"},
    {SWITCH "switchLevel = 1", "same-level"},
    {SWITCH "vlanEnable = 0 WHERE switchName = 'PSE'", "vlan-mode-differs"},
    {"UPDATE swPortConfig SET numQueues = portNumber, schedMode = 1 WHERE switchName = 'PSE' AND "
     "portNumber IN (1, 2)",
     "queue-counts-differ"},
    {ADD_PORT "('X', 1)", "start-stops *port-without-switch"},
    {ADD_PORT "('PSE', 1)", "start-stops *port-duplicate"},
    {ADD_PORT "('BCM', 9)", "start-stops *port-number-range"},
    {SWITCH "numPorts = 3", "port-beyond-count"},
    {PORT "phyDevice = 'PSE:2' WHERE rowid = 6", "start-stops *mapping-own-switch"},
    {PORT "phyDevice = 'BCM:1,BCM:9' WHERE rowid = 5", "start-stops *mapping-nowhere"},
    {PORT "phyDevice = 'BCM:01' WHERE rowid = 5", "*mapping-nowhere"},
    {PORT "phyDevice = 'PSE:1' WHERE rowid = 1", "start-stops *mapping-later-row"},
    {SWITCH "switchLevel = 0 WHERE switchName = 'PSE'", "mapping-level"},
    {VLAN "vlanId = 65556 WHERE vlanId = 10", "*vlan-id-range"},
    {VLAN "vlanId = 10", "start-stops *vlan-duplicate"},
    {VLAN "interfaceName = NULL", "start-stops *interface-missing"},
    {VLAN "interfaceName = 'uplink.of.port1'", "*interface-name-long"},
    {VLAN "interfaceName = 'eth9'", "start-stops interface-unknown"},
    {VLAN "fwdMap = '0-3,1,2,3', untagMap = NULL", "*list-text"},
    {VLAN "fwdMap = '0,1,2,3,31'", "*port-missing"},
    {VLAN "untagMap = '5' WHERE vlanId = 10", "start-stops *port-missing"},
    {VLAN "fwdMap = '0,1,2,3,4'", "port-without-row"},
    {VLAN "untagMap = '4' WHERE vlanId = 20", "*untag-without-membership port-without-row"},
    {VLAN "untagMap = '4' WHERE vlanId = 10", "port-without-row"}, // towards the processor
    {VLAN "untagMap = '3,2' WHERE vlanId = 10", "*untag-twice"},
    {VLAN "fwdMap = '0,1,2'", "shifted-ports"},
    {ADD_BRIDGE "0, '-eth0')", "start-stops bridge-kernel *bridge-port-interface port-missing"},
    {ADD_BRIDGE "0, 'LAN 1')", "start-stops *interface-bad-name bridge-kernel bridge-port-interface port-missing"},
    {ADD_BRIDGE "0, 'eth0'), ('BRIDGE', 1, 'eth0')", "start-stops bridge-kernel *bridge-port-interface port-missing"},
    {ADD_BRIDGE "0, 'eth0'), ('BRIDGE', 1, 'eth9')", "start-stops bridge-kernel bridge-port-interface port-missing"},
    {ADD_BRIDGE "32, 'eth0')", "start-stops bridge-kernel *port-number-range port-missing"},
};
// clang-format on

} // namespace

TEST(Check, aFaultyRowIsFoundByItsRuleAndRefusedByTheTriggers)
{
    std::string all;
    for (const auto &[sql, rules] : cases) {
        SCOPED_TRACE(sql);
        std::string expected = rules;
        const size_t mark = std::min(expected.find('*'), expected.size());
        const std::string refusal = expected.substr(mark, expected.find(' ', mark) - mark);
        std::erase(expected, '*');
        Database database = soundDatabase();
        database.run(sql);
        EXPECT_EQ(expected, rulesOf(findingsOf(database)));
        all += expected;

        Database guarded = soundDatabase();
        guarded.run(fileText("constraints.sql").c_str());
        try {
            guarded.run(sql);
            EXPECT_EQ("", refusal) << "is not refused";
        } catch (const Failure &failure) {
            ASSERT_NE("", refusal) << failure.what();
            EXPECT_PRED_FORMAT2(testing::IsSubstring, refusal.substr(1) + ":", failure.what());
        }
    }
    for (const Rule &rule : checkRules())
        EXPECT_PRED_FORMAT2(testing::IsSubstring, rule.id, all);
}

// Without one of these a start is not what the rows say; any other counts as 0 or empty.
TEST(Check, aMissingColumnIsAnErrorWhereTheServiceNeedsIt)
{
    std::string needed;
    for (const Table &table : configurationTables())
        for (const Column &column : columnsOf(table.name)) {
            Database database = soundDatabase();
            database.run((std::string("ALTER TABLE ") + table.name + " RENAME COLUMN " +
                          column.name + " TO other")
                             .c_str());
            for (const Finding &finding : findingsOf(database))
                if (finding.rule->id == std::string("column-missing") &&
                    finding.severity == Severity::error)
                    needed += (needed.empty() ? "" : " ") + finding.subject;
        }
    EXPECT_EQ(needed, "switchName switchName portNumber vlanId interfaceName fwdMap");
}

// The rule is the client's own; the service has to agree.
TEST(Check, thePortToTheHostIsTheOneThatTheServiceAdds)
{
    constexpr struct {
        const char *interface;
        bool inSwitchOnly;
    } routes[] = {{"eth0", false}, {"eth0", true}, {"eth1", false}, {"eth1", true}, {"lan", false}};
    Database database = soundDatabase();
    database.run("DELETE FROM vlanEncapIf");
    int id = 0;
    for (const auto &[interface, inSwitchOnly] : routes)
        database.run(("INSERT INTO vlanEncapIf (vlanId, interfaceName, inSwitchOnly, fwdMap)"
                      " VALUES (" +
                      std::to_string(++id) + ", '" + interface + "', " +
                      (inSwitchOnly ? "1" : "0") + ", '2')")
                         .c_str());
    const Interfaces interfaces = {{"eth0", {2}}, {"eth1", {2}}, {"lan", {2}}};
    const Chip chip = rehearse(Script(interfaces).image(database.serialised()).start()).chip();
    id = 0;
    for (const auto &[interface, inSwitchOnly] : routes) {
        SCOPED_TRACE(std::string(interface) + (inSwitchOnly ? ", switch only" : ""));
        ASSERT_TRUE(chip.vlans.contains(++id));
        EXPECT_EQ(chip.vlans.at(id).fwdMap,
                  1u << 2 | chipDevice().hostPorts(interface, inSwitchOnly));
    }
}

// With DOCUMENTS_WRITE set they are written anew instead.
TEST(Check, theFilesMadeFromColumnsAndRulesAreUpToDate)
{
    const std::pair<const char *, std::string> files[] = {
        {"schema.sql", databaseSchema()},
        {"constraints.sql", constraintTriggers()},
        {"configuration.schema.json", configurationSchema()}};
    for (const auto &[name, text] : files)
        if (getenv("DOCUMENTS_WRITE") != nullptr)
            std::ofstream(std::string(DATA "/") + name) << text;
        else
            EXPECT_EQ(text, fileText(name)) << "DOCUMENTS_WRITE=1 check_test writes it";
}

TEST(Check, aWarningIsAcceptedWithItsRuleAndAnErrorIsNot)
{
    Database database = soundDatabase();
    database.run(SWITCH "switchLevel = 1");
    database.run(VLAN "interfaceName = 'eth9' WHERE vlanId = 20");
    const auto counts = [&] {
        std::vector<Finding> findings = findingsOf(database);
        markAccepted(database, findings);
        return std::pair(countOf(findings, Severity::error), countOf(findings, Severity::warning));
    };
    const auto before = counts();
    EXPECT_GE(before.first, 1u);
    ASSERT_EQ(before.second, 1u);
    const Rule &rule = *ruleById("same-level");
    EXPECT_FALSE(withdrawRule(database, rule));
    EXPECT_TRUE(acceptRule(database, rule));
    EXPECT_FALSE(acceptRule(database, rule));
    EXPECT_TRUE(acceptRule(database, *ruleById("interface-unknown")));
    EXPECT_EQ(counts(), std::pair(before.first, size_t{0}));
    EXPECT_TRUE(withdrawRule(database, rule));
    EXPECT_EQ(counts(), before);
}

TEST(Check, aChangeAnswersForWhatItMakesWorseAlone)
{
    Database database = soundDatabase();
    database.run(VLAN "interfaceName = 'eth9' WHERE vlanId = 20");
    const std::vector<Finding> before = findingsOf(database);
    database.run("DELETE FROM vlanEncapIf WHERE vlanId = 20; INSERT INTO vlanEncapIf "
                 "(rowid, vlanId, interfaceName, fwdMap) VALUES (7, 20, 'eth9', '0,1,2,3')");
    EXPECT_EQ("", rulesOf(newFindings(before, findingsOf(database), Severity::error)));
    database.run(VLAN "interfaceName = 'eth8' WHERE vlanId = 10");
    EXPECT_EQ("start-stops interface-unknown",
              rulesOf(newFindings(before, findingsOf(database), Severity::error)));
}
